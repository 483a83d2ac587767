#!/usr/bin/env bash
# The Debian package from end to end: made by CPack from this build tree, checked by lintian and by
# its file list, then installed with apt-get, used from PATH and purged in a throwaway copy of the
# machine: a private mount namespace whose root is an overlay over / with every write in a tmpfs,
# entered with chroot. The package never reaches the real machine.
#
#   package_test.sh SOURCE_DIR BINARY_DIR
#
# The same file runs in three roles: the test (two arguments), the namespace that builds the
# throwaway root (--throwaway-root WORK) and the steps inside it (--in-root).
set -euo pipefail

readonly kPackage=tcp-traffic-interceptor
readonly kTree=/opt/morvane/tolm

here=$(dirname "$(readlink -f "$0")")
# shellcheck source=../../support/machine_copy.sh
source "$here/machine_copy.sh" 2>/dev/null || source "$here/../../support/machine_copy.sh"

# `mode owner path[ -> target]` per entry, as the package has to list them.
expected_contents() {
  local source_dir=$1 dir=drwxr-xr-x data=-rw-r--r-- program=-rwxr-xr-x
  local doc=./usr/share/doc/$kPackage
  local entries=(
    "$dir ./opt/" "$dir ./opt/morvane/" "$dir .$kTree/"
    "$dir .$kTree/bin/" "$program .$kTree/bin/module-host"
    "$dir .$kTree/lib/" "$data .$kTree/lib/liblocalization.so"
    "$data .$kTree/lib/libtcp_traffic_interceptor.so"
    "$dir .$kTree/libexec/" "$program .$kTree/libexec/cert-manager"
    "$dir .$kTree/share/" "$dir .$kTree/share/localization/"
    "$dir .$kTree/shared/" "$dir .$kTree/shared/loc/" "$dir .$kTree/shared/loc/neutral/"
    "$dir .$kTree/shared/loc/neutral/templates/"
    "$data .$kTree/shared/loc/neutral/templates/invalid_certificate.html"
    "$dir ./usr/" "$dir ./usr/bin/"
    "lrwxrwxrwx ./usr/bin/module-host -> $kTree/bin/module-host"
    "$dir ./usr/share/" "$dir ./usr/share/doc/" "$dir $doc/"
    "$data $doc/changelog.gz" "$data $doc/copyright"
    "$dir ./usr/share/lintian/" "$dir ./usr/share/lintian/overrides/"
    "$data ./usr/share/lintian/overrides/$kPackage"
  )
  local language text
  for language in "$source_dir"/data/localization/*/; do
    entries+=("$dir .$kTree/share/localization/$(basename "$language")/")
    for text in "$language"*.ini; do
      entries+=("$data .$kTree/share/localization/$(basename "$language")/$(basename "$text")")
    done
  done
  local entry
  for entry in "${entries[@]}"; do
    echo "${entry%% *} root/root ${entry#* }"
  done | sort
}

# The test's certificates, and the chain the alert page shows.
make_certificates() {
  make_test_certificates "$1" "Package Test"
  cat "$1/server.pem" "$1/root.pem" >"$1/chain.pem"
}

run_test() {
  local source_dir=$1 binary_dir=$2
  work=$(mktemp -d /tmp/package-test.XXXXXX)
  trap 'rm -rf "$work"' EXIT

  cpack -G DEB --config "$binary_dir/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack"; }
  local debs=("$work"/out/*.deb)
  ((${#debs[@]} == 1)) || fail "cpack made ${#debs[@]} packages"
  echo "package: $(basename "${debs[0]}")"
  cp "${debs[0]}" "$work/package.deb"

  lintian --fail-on error "$work/package.deb" || fail "lintian reports errors"

  dpkg -c "$work/package.deb" |
    awk '{ line = $1 " " $2 " " $6; for (i = 7; i <= NF; ++i) line = line " " $i; print line }' |
    sort >"$work/contents"
  expected_contents "$source_dir" >"$work/expected"
  diff -u "$work/expected" "$work/contents" || fail "dpkg -c lists other entries than the product"
  dpkg-deb -f "$work/package.deb" Version Depends
  # No maintainer script: the trust stores are the host's business, not the package's.
  [[ $(dpkg-deb --ctrl-tarfile "$work/package.deb" | tar -t | sort | xargs) == \
    "./control ./md5sums" ]] || fail "the package carries maintainer scripts"

  make_certificates "$work"
  cp "$0" "$work/package_test.sh"
  machine_state "$work/contents" >"$work/machine-before"
  unshare --mount --net --propagation private -- "$0" --throwaway-root "$work"
  machine_state "$work/contents" >"$work/machine-after"
  diff -u "$work/machine-before" "$work/machine-after" || fail "the real machine changed"
  echo "PASS"
}

# In the private namespaces: the copy of the machine, its /tmp holding the package, certificates
# and this script.
throwaway_root() {
  local work=$1
  mount_machine_copy "$work"
  cp "$work"/{package.deb,contents,root.pem,server.pem,server.key,chain.pem,package_test.sh} \
    "$work/root/tmp/"
  enter_machine_copy "$work/root" package_test.sh --in-root
}

# curl's exit status for https://127.0.0.1:PORT/ with the system's trust (60: not trusted).
curl_status() {
  local status=0
  HOME=/tmp curl -sS --max-time 20 -o /dev/null "https://127.0.0.1:$1/" 2>/dev/null || status=$?
  echo "$status"
}

start_server() {
  start_server_printing_port 's/^ACCEPT 127\.0\.0\.1:\([0-9]*\)$/\1/p' \
    openssl s_server -accept 127.0.0.1:0 -cert /tmp/server.pem -key /tmp/server.key -www
}

# The entries of the package (the list in CONTENTS) that exist on this machine now, one path a line.
existing_entries() {
  local path
  awk '{ print substr($3, 2) }' "$1" | while read -r path; do
    if [[ -e "$path" || -L "$path" ]]; then
      echo "$path"
    fi
  done
}

# What dpkg knows of the package and which of its entries exist.
machine_state() {
  dpkg-query -W -f '${Status}\n' "$kPackage" 2>/dev/null || true
  existing_entries "$1"
}

in_root() {
  cd /tmp
  export DEBIAN_FRONTEND=noninteractive
  ! dpkg-query -W "$kPackage" >/dev/null 2>&1 || fail "this machine has the package installed"
  existing_entries /tmp/contents >/tmp/before
  # Every dependency is on this machine already. apt's --no-download refuses a local .deb; the
  # network namespace without links takes away anything to fetch from.
  apt-get install -y -q ./package.deb >/tmp/apt.log 2>&1 ||
    { cat /tmp/apt.log; fail "apt-get install"; }
  [[ $(command -v module-host) == /usr/bin/module-host ]] || fail "module-host is not on PATH"
  echo "installed with apt-get"

  module-host info >/tmp/info.txt || fail "module-host info"
  grep -qx "Module  $kTree/lib/libtcp_traffic_interceptor.so" /tmp/info.txt ||
    fail "module-host info loaded another module: $(head -1 /tmp/info.txt)"
  # The installed page template worded by the installed library and texts.
  module-host alert-page --domain shop.example.com --chain /tmp/chain.pem \
    --verification SslResult_CertVerifyUntrustedRoot --action allow \
    --continue-url https://engine.invalid/continue --output /tmp/page.html 2>/tmp/page.err ||
    { cat /tmp/page.err; fail "alert-page"; }
  grep -q "The certificate is issued by an authority that is not trusted." /tmp/page.html ||
    fail "the alert page lacks its localised reason"
  echo "module-host info and alert-page ran from the installed tree"

  start_server
  [[ $(curl_status "$port") == 60 ]] || fail "curl trusts the test root before install"
  module-host install /tmp/root.pem >/tmp/install.txt || { cat /tmp/install.txt; fail "install"; }
  [[ $(curl_status "$port") == 0 ]] || fail "curl does not trust the installed root"
  module-host uninstall /tmp/root.pem >/tmp/uninstall.txt ||
    { cat /tmp/uninstall.txt; fail "uninstall"; }
  [[ $(curl_status "$port") == 60 ]] || fail "curl still trusts the root after uninstall"
  echo "curl trusted 127.0.0.1:$port exactly between install and uninstall"

  apt-get purge -y -q "$kPackage" >/tmp/apt.log 2>&1 || { cat /tmp/apt.log; fail "apt-get purge"; }
  # Only what was there before install (/opt, /usr/bin and the like) may stay.
  existing_entries /tmp/contents >/tmp/after
  diff -u /tmp/before /tmp/after || fail "purge left entries of the package behind"
  ! dpkg-query -W "$kPackage" >/dev/null 2>&1 || fail "dpkg still knows the package"
  echo "purged, nothing of the package left"
}

case "${1:-}" in
  --throwaway-root) throwaway_root "$2" ;;
  --in-root) in_root ;;
  *) run_test "$@" ;;
esac
