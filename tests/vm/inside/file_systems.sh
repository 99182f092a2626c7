# Scenes of mounts, swap and loops.
step "btrfs on two disks with subvolumes"
must mkfs.btrfs -q -K -f -d raid1 -m raid1 "$(disk butterone)" "$(disk buttertwo)"
[ -n "$has_udev" ] || must btrfs device scan "$(disk butterone)" "$(disk buttertwo)"
mkdir -p /mnt/butter /mnt/sub
must mount -t btrfs "$(disk butterone)" /mnt/butter
must btrfs subvolume create /mnt/butter/inner
must mount -t btrfs -o subvol=inner "$(disk buttertwo)" /mnt/sub

step "disks with names of two letters"
filesystem "$(disk far)" /mnt/far
table "$(disk farther)" <<'TABLE'
label: dos
size=16M, type=83
TABLE
filesystem "$(partition "$(disk farther)" 1)" /mnt/farther ro

step "a disk that is written but not used"
must mke2fs -q -t ext4 -F -L unused "$(disk plain)"
must blockdev --setro "$(disk plain)"

step "bind mounts, overlay, a file system in memory"
mkdir -p /mnt/bound /mnt/layers/lower /mnt/layers/upper /mnt/layers/work /mnt/overlay /mnt/memory
mkdir -p /mnt/far/part
must mount --bind /mnt/far/part /mnt/bound
must mount -t overlay -o lowerdir=/mnt/layers/lower,upperdir=/mnt/layers/upper,workdir=/mnt/layers/work overlay /mnt/overlay
must mount -t tmpfs "$(disk plain)" /mnt/memory  # a disk that nothing uses, whichever name the kernel gives the others

step "mounts hidden by later ones"
mkdir -p /mnt/covered /mnt/above
must mount "$(partition "$(disk gap)" 3)" /mnt/covered
must mount -t tmpfs tmpfs /mnt/covered
mkdir -p /mnt/above/below
must mount "$(partition "$(disk gap)" 3)" /mnt/above/below
must mount -t tmpfs tmpfs /mnt/above

step "a loop with partitions, one in use, one on a device"
must busybox modprobe loop max_loop=4
must dd if=/dev/zero of=/boot/image bs=1M count=8
table /boot/image <<'TABLE'
label: gpt
size=4M, type=linux
size=2M, type=linux
TABLE
must losetup -P /dev/loop0 /boot/image
settle
filesystem /dev/loop0p1 /mnt/loop
must losetup /dev/loop1 "$(partition "$(disk holding)" 1)"
filesystem /dev/loop1 /mnt/looped

step "swap in a file and in memory"
must dd if=/dev/zero of=/swapfile bs=1M count=4
chmod 600 /swapfile
must mkswap /swapfile
must swapon /swapfile
must busybox modprobe zram
echo 8M >/sys/block/zram0/disksize
must mkswap /dev/zram0
must swapon -p 100 /dev/zram0
must busybox modprobe brd rd_nr=1 rd_size=4096
