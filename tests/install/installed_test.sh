#!/usr/bin/env bash
# installed_test.sh SOURCE_DIR BUILD_DIR LIBDIR [LINK_FLAGS]: installs into a fresh prefix, moves the whole tree elsewhere, and
# builds and runs the example there, once through pkg-config and once through the CMake package.
set -euo pipefail

source_dir=$1 build_dir=$2 libdir=$3 flags=${4:-}
work=$build_dir/installed
rm -rf "$work"
mkdir -p "$work"
cmake --install "$build_dir" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/prefix"
prefix=$work/prefix

openssl req -x509 -newkey rsa:2048 -nodes -keyout "$work/key.pem" -out "$work/cert.pem" -days 2 -sha256 \
  -subj "/CN=Installed" -addext keyUsage=digitalSignature 2>/dev/null
cat "$work/cert.pem" "$work/key.pem" >"$work/signer.pem"

# try PROGRAM: it signs the invoice and names the signer.
try() {
  local answer
  answer=$(LD_LIBRARY_PATH=$prefix/$libdir "$1" "$work/signer.pem" "$source_dir/examples/invoice.xml" "$work/signed.xml")
  [[ $answer == "signed by CN=Installed" ]] || { echo "$1 said: $answer"; exit 1; }
}

export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
for module in talvo_util talvo_crypto talvo_xml; do
  [[ $(pkg-config --modversion $module) == 2.0.0 ]]
done
# Unquoted on purpose: these are lists of flags.
cc -std=c11 -Wall -Werror $flags "$source_dir/examples/sign_verify.c" $(pkg-config --cflags --libs talvo_xml) \
  -o "$work/by_pkgconfig"
try "$work/by_pkgconfig"

cmake -S "$source_dir/examples" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="$flags" >"$work/cmake.log"
cmake --build "$work/cmake" >>"$work/cmake.log"
try "$work/cmake/sign_verify"

# The installed program finds its libraries by itself, wherever the tree lies.
"$prefix/bin/talvo-xml" verify --policy plain "$work/signed.xml"
