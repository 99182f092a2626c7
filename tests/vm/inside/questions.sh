# What the command and the other tools say, as root and as an ordinary user. One answer is NAME.out, NAME.err and
# NAME.status in the user's folder.
cd /
ask() {  # ask USER NAME COMMAND...
    as="/results/$1"
    name=$2
    [ "$1" = root ] && unprivileged= || unprivileged="setpriv --reuid=1000 --regid=1000 --clear-groups"
    shift 2
    mkdir -p "$as"
    $unprivileged "$@" >"$as/$name.out" 2>"$as/$name.err" </dev/null
    echo $? >"$as/$name.status"
}

# For each mount its number and that of the mount which is found at its path.
found_mounts() {
    cut -d' ' -f1,5 /proc/self/mountinfo | while read -r id path; do
        path=$(printf '%b' "$path")
        [ -e "$path" ] || { echo "$id none"; continue; }
        exec 3<"$path"
        echo "$id $(sed -n 's/^mnt_id:[[:space:]]*//p' /proc/self/fdinfo/3)"
        exec 3<&-
    done
}

hidden_names() { grep -lx 1 /sys/block/*/hidden | cut -d/ -f4; }

for user in root user; do
    step "questions as $user"
    ask $user lsblk lsblk -a -J -b -O
    ask $user findmnt findmnt -l -J -o ID,PARENT,TARGET,SOURCE,FSTYPE,FSROOT,MAJ:MIN
    ask $user swapon swapon --show=NAME,TYPE,SIZE --bytes --noheadings --raw
    ask $user account /product/bin/account_dump
    ask $user tree /product/bin/diskmgt tree
    ask $user tree_rows /product/bin/diskmgt tree --all --columns name,type,remark
    ask $user explain /product/bin/diskmgt explain --format json
    ask $user get /product/bin/diskmgt get --format json
    ask $user export /product/bin/diskmgt export json
    ask $user metrics /product/bin/diskmgt export prometheus
    ask $user page /product/bin/diskmgt export html
    ask $user facts env PATH="/product/bin:$PATH" /product/share/diskmgt/facts/disks.fact
    name=$(disk farther)
    document=/results/$user/export.out
    sed "s|\([\"/]\)${name#/dev/}|\1sdzz|g" "$document" >/tmp/renamed
    ask $user diff_same /product/bin/diskmgt diff "$document" "$document"
    ask $user diff_renamed /product/bin/diskmgt diff "$document" /tmp/renamed
done
step "questions about each device"
ask root found_mounts found_mounts
ask root btrfs btrfs filesystem show --raw /mnt/butter
ask root losetup losetup -J -l -O NAME,BACK-FILE
ask root hidden hidden_names
ask root links find /dev/disk -type l -printf '%p\t%l\n'
ask root mountinfo cat /proc/self/mountinfo
ask root swaps cat /proc/swaps
/product/bin/account_dump --names >/tmp/names
ask root explain_each /product/bin/diskmgt explain --format json $(sed 's|^|/dev/|' /tmp/names)
ask root explain_text /product/bin/diskmgt explain $(sed 's|^|/dev/|' /tmp/names)
[ -z "$has_udev" ] || udevadm info --export-db >/results/root/udev.out
