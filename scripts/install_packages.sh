#!/bin/sh
# Installs what is missing of the named sections of packages.txt:
#   scripts/install_packages.sh build test
# Does nothing, and needs neither root nor a network, when all of it is installed.
set -eu

list=$(dirname "$0")/packages.txt
wanted=
for section in "$@"; do
  packages=$(sed -n "/^\[$section\]/,/^\[/{/^[a-z]/p}" "$list")
  if [ -z "$packages" ]; then
    echo "install_packages.sh: no section [$section] in $list" >&2
    exit 1
  fi
  wanted="$wanted $packages"
done

missing=
for package in $wanted; do
  case " $missing " in *" $package "*) continue ;; esac
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

echo "Installing:$missing"
run=
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "These packages are missing, and there is no sudo: run this as root:" >&2
    echo "  apt-get install$missing" >&2
    exit 1
  fi
  run=sudo
fi
$run env DEBIAN_FRONTEND=noninteractive apt-get update -q
# shellcheck disable=SC2086  # one word per package
$run env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
