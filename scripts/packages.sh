# Sourced by the other scripts: the Debian packages the project needs, and a way to get those that are missing.

build_packages=(g++ cmake ninja-build pkgconf libssl-dev libxml2-dev libcurl4-openssl-dev libjansson-dev
  libcli11-dev)
demo_packages=("${build_packages[@]}" openssl)
# The tests let other programs judge (openssl, xmlsec1, xmllint) and keep keys on a software token.
test_packages=("${build_packages[@]}" openssl libgtest-dev python3 clang-format-14 clang-tidy-14 xmlsec1
  libxml2-utils softhsm2 libengine-pkcs11-openssl)

is_installed() {
  [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# need_packages NAME...: installs those that are missing, as root; otherwise says what to ask root for.
need_packages() {
  local missing=() package
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  if ((${#missing[@]} == 0)); then
    return
  fi
  if ((EUID != 0)); then
    echo "These packages are missing: ${missing[*]}" >&2
    echo "Install them with: apt-get install --no-install-recommends ${missing[*]}" >&2
    exit 1
  fi
  echo "Installing with apt-get: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  quietly apt-get update
  quietly apt-get install --yes --no-install-recommends "${missing[@]}"
}

# quietly COMMAND...: shows the output of a command only when it fails.
quietly() {
  local output
  if ! output=$("$@" 2>&1 </dev/null); then
    printf '%s\n' "$output" >&2
    echo "failed: $*" >&2
    exit 1
  fi
}
