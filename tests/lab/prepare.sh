#!/usr/bin/env bash
# prepare.sh FOLDER: fills the folder with what lab.sh boots: Debian's kernel, the modules that the tests use, and the
# simulated GPIO chip of the kernel's sources, which Debian does not build. Some 225 MB of downloads, 70 MB of which
# stay; half a minute. The folder appears when all is done, or not at all.
set -euo pipefail

folder=$(realpath -m "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Image, headers and source of one version: Debian keeps no older ones.
image=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-6[^ ]*\).*/\1/p' | head -n 1)
kernel=${image#linux-image-}
series=$(cut -d . -f 1,2 <<<"$kernel")
version=$(apt-cache policy "$image" | sed -n 's/ *Candidate: //p')
apt-get -qq -o APT::Sandbox::User=root download "$image" "linux-headers-$kernel" \
    "linux-headers-${kernel%-amd64}-common" "linux-kbuild-$series=$version" "linux-source-$series=$version"
for package in linux-image*.deb linux-headers*.deb linux-kbuild*.deb; do
    dpkg-deb -x "$package" unpacked
done
dpkg-deb --fsys-tarfile linux-source*.deb | tar -xO "./usr/src/linux-source-$series.tar.xz" |
    tar -xJ --strip-components=1 "linux-source-$series/drivers/gpio/gpio-sim.c" \
        "linux-source-$series/drivers/gpio/gpiolib.h" "linux-source-$series/kernel/irq/irq_sim.c"

# The simulated chip and the interrupts that it simulates as one module. What the second takes of the kernel is not
# there for modules: the same by what is. A chip with a label that begins with "mute" has no interrupts, as some
# adapters have none.
mkdir gpio
cp drivers/gpio/gpiolib.h kernel/irq/irq_sim.c gpio/
cp drivers/gpio/gpio-sim.c gpio/gpio-sim-chip.c
sed -i 's/irq_to_desc(irqnum)/irq_data_to_desc(irq_get_irq_data(irqnum))/
        s|^#include <linux/irq.h>|&\n#include <linux/irqdesc.h>|' gpio/irq_sim.c
sed -i 's/^\tgc->to_irq = gpio_sim_to_irq;/\tgc->to_irq = strncmp(label, "mute", 4) ? gpio_sim_to_irq : NULL;/' \
    gpio/gpio-sim-chip.c
grep -q '"mute"' gpio/gpio-sim-chip.c
printf 'obj-m := gpio-sim.o\ngpio-sim-y := gpio-sim-chip.o irq_sim.o\n' >gpio/Makefile
headers=$work/unpacked/usr/src/linux-headers-$kernel
sed -i "s#/usr/src#$work/unpacked/usr/src#" "$headers/Makefile"
make -s -C "$headers" M="$work/gpio" modules 2>&1 | { grep -v BTF || true; }
strip -g gpio/gpio-sim.ko

# The kernel without its wrapping starts two seconds sooner where the processor is emulated.
modules=ready/lib/modules/$kernel
mkdir -p ready/boot "$modules/extra"
python3 - "unpacked/boot/vmlinuz-$kernel" "ready/boot/vmlinux-$kernel" <<'UNWRAP'
import lzma
import struct
import sys

image = open(sys.argv[1], "rb").read()
offset, length = struct.unpack_from("<II", image, 0x248)  # of what is packed, behind the sectors of the start-up code
offset += (image[0x1F1] + 1) * 512
open(sys.argv[2], "wb").write(lzma.LZMADecompressor().decompress(image[offset : offset + length - 4]))
UNWRAP
depmod -b unpacked "$kernel"
for module in virtio_pci 9pnet_virtio 9p overlay virtio_console configfs rc-loopback \
    ir-{nec,rc5,rc6,sony}-decoder dummy_hcd libcomposite usb_f_{acm,serial} cdc-acm usbserial; do
    modprobe -d unpacked -S "$kernel" --show-depends "$module" | sed -n 's#^insmod .*/\(lib/modules/[^ ]*\).*#\1#p'
done | sort -u | tar -C unpacked -cf - -T - | tar -C ready -xf -
cp unpacked/lib/modules/"$kernel"/modules.{order,builtin,builtin.modinfo} "$modules/"
cp gpio/gpio-sim.ko "$modules/extra/"
depmod -b ready "$kernel"
mkdir -p "$(dirname "$folder")"
rm -rf "$folder"
mv ready "$folder"
