# Scenes of devices that lie on others.
pass_phrase() { printf 'a pass phrase' >/run/phrase; }
luks() {  # luks NODE NAME
    must cryptsetup -q luksFormat --type luks2 --cipher aes-xts-plain64 --pbkdf pbkdf2 --pbkdf-force-iterations 1000 \
        "$1" /run/phrase
    [ -z "${2:-}" ] || must cryptsetup -q open --key-file /run/phrase "$1" "$2"
}
pass_phrase

step "LUKS over LVM"
disk=$(disk vault)
must lvm vgcreate -q vault "$disk"
must lvm lvcreate -q -Wn -n inner -L 64M vault
luks /dev/mapper/vault-inner opened
filesystem /dev/mapper/opened /mnt/vault

step "LUKS on a whole disk, and a closed one"
luks "$(disk wholeluks)" secret
filesystem /dev/mapper/secret /mnt/secret
luks "$(disk locked)"

step "RAID 1 of two partitions with a table on it"
for half in pairone pairtwo; do
    table "$(disk $half)" <<'TABLE'
label: gpt
size=8M, type=linux
size=40M, type=raid
TABLE
done
must mdadm --create /dev/md0 --run --assume-clean --level=1 --raid-devices=2 --metadata=1.2 \
    "$(partition "$(disk pairone)" 2)" "$(partition "$(disk pairtwo)" 2)"
table /dev/md0 <<'TABLE'
label: gpt
size=16M, type=linux
size=8M, type=linux
TABLE
filesystem /dev/md0p1 /mnt/pair

step "RAID of whole disks"
must mdadm --create /dev/md127 --run --assume-clean --level=1 --raid-devices=2 --metadata=1.2 \
    "$(disk wholeone)" "$(disk wholetwo)"
filesystem /dev/md127 /mnt/whole

step "multipath with partitions"
first=$(disk manyways 1)
second=$(disk manyways 2)
table "$first" <<'TABLE'
label: gpt
start=2048, size=32768
start=36864, size=16384
TABLE
must blockdev --rereadpt "$second"
settle
sectors=$(blockdev --getsz "$first")
paths="$(cat "/sys/block/${first#/dev/}/dev") 1 $(cat "/sys/block/${second#/dev/}/dev") 1"
# The kernel's partitions of a path stand in the way of nothing here, but tools take them away.
must dmsetup create mpatha --uuid mpath-35000c500000abcde \
    --table "0 $sectors multipath 0 0 1 1 round-robin 0 2 1 $paths"
must dmsetup create mpatha-part1 --uuid part1-mpath-35000c500000abcde --table "0 32768 linear /dev/mapper/mpatha 2048"
must dmsetup create mpatha-part2 --uuid part2-mpath-35000c500000abcde --table "0 16384 linear /dev/mapper/mpatha 36864"
filesystem /dev/mapper/mpatha-part1 /mnt/multipath

step "NVMe with two paths"
disk=$(disk fast)
table "$disk" <<'TABLE'
label: gpt
size=16M, type=linux
size=16M, type=linux
TABLE
filesystem "$(partition "$disk" 1)" /mnt/fast

step "a disk as cloud images have it"
disk=$(disk cloud)
table "$disk" <<'TABLE'
label: gpt
14: start=2048, size=8192, type=21686148-6449-6E6F-744E-656564454649
15: start=10240, size=16384, type=uefi
1: start=26624, size=65536, type=linux, name="the root"
TABLE
filesystem "$(partition "$disk" 1)" /mnt/cloud
filesystem "$(partition "$disk" 15)" /mnt/cloud/boot

step "sectors of 4096 bytes"
disk=$(disk large)
table "$disk" <<'TABLE'
label: gpt
size=24M, type=linux
size=16M, type=swap
TABLE
filesystem "$(partition "$disk" 1)" /mnt/large
must mkswap "$(partition "$disk" 2)"
must swapon "$(partition "$disk" 2)"

step "an MBR with an empty slot and logical partitions"
disk=$(disk gap)
table "$disk" <<'TABLE'
label: dos
1: start=2048, size=8192, type=83
3: start=12288, size=8192, type=83
4: start=22528, type=5
5: start=24576, size=8192, type=83
6: start=36864, size=8192, type=83
TABLE
filesystem "$(partition "$disk" 3)" /mnt/gap
filesystem "$(partition "$disk" 6)" "/mnt/logical one"

step "a volume of no known kind, and one over a partition"
disk=$(disk holding)
table "$disk" <<'TABLE'
label: gpt
size=8M, type=linux
size=8M, type=linux
TABLE
must dmsetup create unnamed-kind --table "0 8192 linear $(partition "$disk" 2) 0"
