#!/usr/bin/env bash
# Installs everything the build, the tests and the demo need on a fresh Debian 12 machine, and
# generates the locales the code-page tests switch to. Needs root; uses Debian's packages only.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
$SUDO apt-get update
$SUDO apt-get install -y --no-install-recommends \
  build-essential cmake ninja-build pkg-config git dpkg-dev \
  libgtest-dev libgmock-dev libbenchmark-dev \
  libcurl4-openssl-dev libssl-dev libexpat1-dev nlohmann-json3-dev zlib1g-dev \
  gsoap libgsoap-dev tinyproxy openssl ca-certificates \
  locales clang libclang-rt-14-dev valgrind wrk
# Locales for the code-page and decimal-point tests: Latin-1 and a comma decimal point.
for wanted in "en_US.UTF-8 UTF-8" "en_US ISO-8859-1" "de_DE.UTF-8 UTF-8" "de_DE ISO-8859-1"; do
  grep -qxF "$wanted" /etc/locale.gen 2>/dev/null || echo "$wanted" | $SUDO tee -a /etc/locale.gen >/dev/null
done
$SUDO locale-gen >/dev/null
