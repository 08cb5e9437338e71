#!/usr/bin/env bash
# Installs every Debian package that building, testing and running lomarind needs.
# Safe to run again: apt-get skips what is already installed.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
packages=(
  git cmake g++ make pkg-config
  python3-venv python3-pip python3-setuptools python3-wheel
  libsqlite3-dev libsqlitecpp-dev sqlite3
  nlohmann-json3-dev libcli11-dev libfmt-dev libutf8proc-dev
  universal-ctags
  pybind11-dev python3-dev python3-pytest
  libgtest-dev libgmock-dev libbenchmark-dev
  chromium
  clang libclang-rt-14-dev
)
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${packages[@]}" >/dev/null
