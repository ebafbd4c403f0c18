#!/usr/bin/env bash
# Installs what building and testing TesselGen needs on a Debian machine:
# the build tools, GoogleTest, clang's fuzzing runtime, and the compilers
# that the real-compiler tests characterise. Does nothing for packages that
# are already there, and nothing at all unless it runs as root with apt-get
# (or when TESSEL_NO_INSTALL=1).
set -uo pipefail
[ "${TESSEL_NO_INSTALL:-0}" = 1 ] && exit 0
command -v apt-get >/dev/null 2>&1 || exit 0
[ "$(id -u)" = 0 ] || exit 0

# The compilers are those of every preset in scripts/presets.tsv. The
# versioned multilib packages give "gcc -m32" without the gcc-multilib meta
# package, which conflicts with every gcc-*-linux-gnu cross compiler.
# clangd, cppcheck and python3 are what the export tests feed; clang's
# fuzzing runtime comes with libclang-rt-dev.
packages=(cmake ninja-build g++ gcc clang clang-format libclang-rt-dev
  libgtest-dev python3
  sdcc gcc-avr avr-libc gcc-arm-none-eabi libnewlib-arm-none-eabi tcc pcc cc65
  gcc-12-multilib g++-12-multilib gcc-powerpc-linux-gnu libc6-dev-powerpc-cross
  gcc-mingw-w64-x86-64 clangd cppcheck)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq >/dev/null 2>&1 || true
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null 2>&1 \
  || echo "warning: some packages could not be installed; their tests will be skipped"
exit 0
