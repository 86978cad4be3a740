#!/bin/bash
# A player on the virtual machine's own USB port, one at a time.
#
#   player.sh plug umtp FOLDER CARD     umtp-responder shows two folders as its storages
#   player.sh plug scripted SCRIPT [N]  orvel-mtp-gadget shows what SCRIPT describes; after N commands
#                                       its cable falls out
#   player.sh unplug                    takes the cable out; the program that answers goes on
#   player.sh replug                    puts the cable in again
#   player.sh remove                    unplugs and ends the program
set -euo pipefail

gadget=/sys/kernel/config/usb_gadget/player
mount_point=/run/player
pid_file=/run/player.pid
vendor=1209
product=0001

wait_until() { # COMMAND...
  local tries
  for tries in {1..500}; do
    if "$@" 2>/dev/null; then return; fi
    sleep 0.02
  done
  echo "gave up after $tries tries: $*" >&2
  exit 1
}

on_bus() { grep -qx "$vendor" /sys/bus/usb/devices/*/idVendor; }
off_bus() { ! on_bus; }
bind() {
  ls /sys/class/udc >"$gadget/UDC"
  wait_until on_bus
}
unbind() {
  if grep -q . "$gadget/UDC"; then echo >"$gadget/UDC"; fi
  wait_until off_bus
}

make_gadget() { # SERIAL
  mkdir "$gadget"
  cd "$gadget"
  mkdir configs/c.1 functions/ffs.player strings/0x409
  echo "0x$vendor" >idVendor
  echo "0x$product" >idProduct
  echo "$1" >strings/0x409/serialnumber
  ln -s functions/ffs.player configs/c.1
  cd /
  mkdir -p "$mount_point"
  mount -t functionfs player "$mount_point"
}

start() { # COMMAND...: answers in the background until it is removed
  "$@" >/run/player.log 2>&1 &
  echo $! >"$pid_file"
  wait_until test -e "$mount_point/ep3"
}

umtp_settings() { # FOLDER CARD
  cat <<SETTINGS
loop_on_disconnect 1
storage "$1" "Internal" "ro"
storage "$2" "Card" "ro"
manufacturer "Orvel"
product "Player"
serial "U1"
firmware_version "1"
interface "MTP"
usb_vendor_id 0x$vendor
usb_product_id 0x$product
usb_class 0x6
usb_subclass 0x1
usb_protocol 0x1
usb_dev_version 0x3008
usb_functionfs_mode 0x1
usb_dev_path "$mount_point/ep0"
usb_epin_path "$mount_point/ep1"
usb_epout_path "$mount_point/ep2"
usb_epint_path "$mount_point/ep3"
usb_max_packet_size 0x200
SETTINGS
}

plug() { # KIND ARGUMENT...
  local kind=$1
  shift
  make_gadget "$kind"
  case $kind in
    umtp)
      mkdir -p /etc/umtprd
      umtp_settings "$@" >/etc/umtprd/umtprd.conf
      start umtprd
      ;;
    scripted)
      start "$ORVEL_GADGET" "$mount_point" "$1" ${2:+"$2" "$gadget/UDC"}
      ;;
  esac
  bind
}

remove() {
  unbind
  kill "$(cat "$pid_file")"
  wait_until umount "$mount_point"
  rm "$gadget/configs/c.1/ffs.player"
  rmdir "$gadget/configs/c.1" "$gadget/functions/ffs.player" "$gadget/strings/0x409" "$gadget"
}

case $1 in
  plug) shift && plug "$@" ;;
  unplug) unbind ;;
  replug) bind ;;
  remove) remove ;;
esac
