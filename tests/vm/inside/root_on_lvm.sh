# The root file system, swap and /home on LVM, on a GPT disk with a boot partition beside it.
step "root on LVM"
disk=$(disk lvmroot)
table "$disk" <<'TABLE'
label: gpt
size=32M, type=linux
size=400M, type=lvm
TABLE
must lvm pvcreate -q "$(partition "$disk" 2)"
must lvm vgcreate -q vg0 "$(partition "$disk" 2)"
must lvm lvcreate -q -Wn -n root -L 340M vg0
must lvm lvcreate -q -Wn -n swap-area -L 16M vg0
must lvm lvcreate -q -Wn -n home -L 16M vg0
must lvm lvcreate -q -Wn -n spare -L 8M vg0
filesystem /dev/mapper/vg0-root /sysroot
tar c -C / bin sbin lib lib64 usr etc inside product busybox | tar x -C /sysroot || fail "the root cannot be copied"
for place in proc sys dev run tmp mnt boot home results; do mkdir -p /sysroot/$place; done
chmod 1777 /sysroot/tmp
filesystem "$(partition "$disk" 1)" /sysroot/boot
filesystem /dev/mapper/vg0-home /sysroot/home
must mkswap /dev/mapper/vg0-swap--area
must swapon /dev/mapper/vg0-swap--area
