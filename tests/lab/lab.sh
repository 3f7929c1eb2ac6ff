#!/usr/bin/env bash
# lab.sh COMMAND [ARGUMENT...]: runs one command as root in a Linux of its own, with kernel modules for devices that this
# machine does not have. Its root is this machine's, read-only below a layer in memory: programs run there as they are,
# and nothing comes back but what they print, the exit status, and files in $LAB_OUT where that is set to a folder.
# Needs no root and no network, but for the kernel that is fetched once. Ends with the command's status; 124: it took
# longer than $LAB_TIMEOUT seconds (120); 125: there is no lab on this machine, and why; 126: it did not come up,
# or its kernel failed.
set -euo pipefail

if [ $# -eq 0 ]; then
    sed -n '2,7s/^# //p' "$0"
    exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)

# --- the kernel, made once for each version of prepare.sh ---
if [ "$(uname -m)" != x86_64 ]; then
    echo "lab: only on an x86-64 machine" >&2
    exit 125
fi
for program in qemu-system-x86_64 busybox modprobe depmod; do
    if ! PATH=$PATH:/usr/sbin:/sbin command -v "$program" >/dev/null; then
        echo "lab: $program is missing (Debian packages: qemu-system-x86 busybox-static kmod udev gcc-12 make)" >&2
        exit 125
    fi
done
PATH=$PATH:/usr/sbin:/sbin
cache=${XDG_CACHE_HOME:-$HOME/.cache}/arkivon-lab
kernel_folder=$cache/$(sha256sum <"$here/prepare.sh" | cut -c 1-16)
mkdir -p "$cache"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
exec 9>"$cache/lock"
flock 9
if [ ! -d "$kernel_folder" ] && ! "$here/prepare.sh" "$kernel_folder" >"$tmp/prepared" 2>&1; then
    echo "lab: no kernel could be prepared: $(tail -n 1 "$tmp/prepared")" >&2
    exit 125
fi
exec 9>&-
image=$(echo "$kernel_folder"/boot/vmlinux-*)
version=${image##*/vmlinux-}
modules=$kernel_folder/lib/modules/$version
out=${LAB_OUT:-$tmp/out}
mkdir -p "$out"
out=$(realpath "$out")
rm -f "$out/.status"

# --- the first stage: what it takes to mount this machine's root ---
mkdir -p "$tmp/initrd"/{bin,modules,proc,sys,dev,low,layer,new}
cp "$(command -v busybox)" "$tmp/initrd/bin/busybox"
number=100
for module in virtio_pci 9pnet_virtio 9p overlay virtio_console; do
    while read -r _ file _; do
        if ! compgen -G "$tmp/initrd/modules/*-${file##*/}" >/dev/null; then
            cp "$file" "$tmp/initrd/modules/$((number++))-${file##*/}"
        fi
    done < <(modprobe -d "$kernel_folder" -S "$version" --show-depends "$module" | grep ^insmod)
done
cat >"$tmp/initrd/init" <<'INIT'
#!/bin/busybox sh
b=/bin/busybox
$b mount -t proc proc /proc
$b mount -t sysfs sys /sys
$b mount -t devtmpfs dev /dev
for file in /modules/*; do $b insmod "$file"; done
options=trans=virtio,version=9p2000.L,msize=262144,access=any
$b mount -t 9p -o $options,ro,cache=loose root /low || $b poweroff -f
$b mount -t tmpfs -o mode=755 layer /layer
$b mkdir /layer/upper /layer/work
$b mount -t overlay -o lowerdir=/low,upperdir=/layer/upper,workdir=/layer/work root /new || $b poweroff -f
for folder in proc sys dev; do $b mount --move /$folder /new/$folder; done
$b mount -t tmpfs -o mode=755 run /new/run
$b mkdir /new/run/lab
$b mount -t 9p -o $options out /new/run/lab
exec $b switch_root /new /bin/bash /run/lab/.start
INIT
chmod +x "$tmp/initrd/init"
(cd "$tmp/initrd" && find . | busybox cpio -o -H newc 2>/dev/null) >"$tmp/initrd.cpio"

# --- the second stage: with this machine's own programs ---
{
    export -p | grep -vE ' (LAB_[A-Z]*|PWD|OLDPWD|SHLVL|DISPLAY|XDG_[A-Z_]*|DBUS_[A-Z_]*)='
    printf 'modules=%q version=%q folder=%q\ncommand=(' "$modules" "$version" "$PWD"
    printf '%q ' "$@"
    echo ')'
    cat <<'START'
mkdir -p /dev/pts /dev/shm /run/lock "/lib/modules/$version"
mount -t devpts -o gid=5,mode=620,ptmxmode=666 devpts /dev/pts
mount -t tmpfs shm /dev/shm
mount --bind "$modules" "/lib/modules/$version"
modprobe configfs
mount -t configfs configfs /sys/kernel/config
for link in fd:/proc/self/fd stdin:fd/0 stdout:fd/1 stderr:fd/2; do ln -sfn "${link#*:}" "/dev/${link%%:*}"; done
busybox ifconfig lo 127.0.0.1 up
hostname lab
/lib/systemd/systemd-udevd --daemon
for port in /sys/class/virtio-ports/*; do output=/dev/${port##*/}; done
export LAB_OUT=/run/lab LAB_GUEST=1
cd "$folder" || cd /
"${command[@]}" </dev/null >"$output" 2>&1
echo $? >/run/lab/.status
sync /run/lab/.status
busybox poweroff -f
START
} >"$out/.start"

# --- run ---
# Only these two modules can run a kernel as it is; others that make a writable /dev/kvm cannot.
accelerator=tcg,thread=multi,tb-size=256
if [ -w /dev/kvm ] && { [ -d /sys/module/kvm_intel ] || [ -d /sys/module/kvm_amd ]; }; then
    accelerator=kvm
fi
mkfifo "$tmp/input" # an end of the input would close the port, and the output would hang
status=0
timeout -k 5 "${LAB_TIMEOUT:-120}" qemu-system-x86_64 -nodefaults -no-user-config -display none -no-reboot \
    -accel "$accelerator" -machine pc -cpu max -m 1024 -smp 1 -kernel "$image" -initrd "$tmp/initrd.cpio" \
    -append "console=ttyS0 quiet panic=-1 oops=panic random.trust_cpu=on mitigations=off" -serial "file:$out/.console" \
    -fsdev local,id=root,path=/,security_model=none,readonly=on,multidevs=remap \
    -device virtio-9p-pci,fsdev=root,mount_tag=root \
    -fsdev "local,id=out,path=$out,security_model=none" -device virtio-9p-pci,fsdev=out,mount_tag=out \
    -device virtio-serial-pci -chardev stdio,id=output,signal=off -device virtserialport,chardev=output,name=lab \
    <>"$tmp/input" || status=$?
if [ "$status" -eq 124 ] || [ "$status" -eq 137 ]; then
    echo "lab: not done within ${LAB_TIMEOUT:-120} s" >&2
    tail -n 20 "$out/.console" >&2
    exit 124
fi
if [ ! -s "$out/.status" ]; then
    echo "lab: the machine did not come up, or its kernel failed (qemu: $status)" >&2
    tail -n 20 "$out/.console" >&2
    exit 126
fi
exit "$(cat "$out/.status")"
