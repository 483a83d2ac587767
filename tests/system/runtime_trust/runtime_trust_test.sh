#!/usr/bin/env bash
# Runtimes with root lists of their own (Node.js, npm, pip, requests with certifi) against a local
# HTTPS server signed by a fresh root, in a throwaway copy of the machine: a private mount namespace
# whose root is an overlay over / with every write in a tmpfs, entered with chroot, loopback the
# only network. The image's own CA settings (pip.conf, npmrc) are taken away, as on a plain desktop.
# Each client runs for a fresh user from a login shell (su -l) and from the environment a desktop
# session gets (systemd's environment.d generator), before `module-host install`, after it and
# after `module-host uninstall`: it must refuse, trust, refuse. Debian's Node.js 18 (which reads the
# system store itself) and curl must do the same. The session settings end as they began.
#
#   runtime_trust_test.sh SOURCE_DIR BINARY_DIR
#
# The same file runs in three roles: the test (two arguments), the namespace that builds the
# throwaway root (--throwaway-root WORK) and the steps inside it (--in-root BINARY_DIR).
set -euo pipefail

readonly kPython=/root/.pyenv/versions/3.11.7/bin/python3
readonly kGenerator=/usr/lib/systemd/user-environment-generators/30-systemd-environment-d-generator
readonly kUser=dev

here=$(dirname "$(readlink -f "$0")")
# shellcheck source=../../support/machine_copy.sh
source "$here/machine_copy.sh" 2>/dev/null || source "$here/../../support/machine_copy.sh"

# Debian's own Node.js (it trusts the system store itself) when Debian's archive has it: its
# program and library unpacked into DIR/node-debian, the script packages it loads from
# /usr/share/nodejs into DIR/node-shared (copied over / of the throwaway root). This machine's
# nodejs package may be another build, so nothing is installed.
fetch_debian_node() {
  local dir=$1 version library
  version=$(apt-cache madison nodejs | awk -F'|' '$3 ~ /debian/ { gsub(/ /, "", $2); print $2; exit }')
  [[ -n "$version" ]] || return 0
  library=$(apt-cache depends "nodejs=$version" | awk '/Depends: libnode[0-9]/ { print $2; exit }')
  [[ -n "$library" ]] || return 0
  local scripts
  scripts=$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts --no-breaks \
    --no-replaces --no-enhances "$library" | grep -E '^node-' | sort -u)
  mkdir -p "$dir/debs/program" "$dir/debs/scripts"
  if ! (cd "$dir/debs/program" && apt-get download -q "nodejs=$version" "$library=$version" &&
    cd ../scripts && apt-get download -q $scripts) >"$dir/debs/log" 2>&1; then
    echo "Debian's Node.js not fetched: $(tail -1 "$dir/debs/log")"
    return 0
  fi
  local deb
  for deb in "$dir"/debs/program/*.deb; do
    dpkg-deb -x "$deb" "$dir/node-debian"
  done
  for deb in "$dir"/debs/scripts/*.deb; do
    dpkg-deb -x "$deb" "$dir/node-shared"
  done
}

# Debian's httpx and the packages it imports, unpacked into DIR/httpx: the image's Python loads
# them before its site-packages, so httpx verifies with the image's certifi, as one installed
# with pip does.
fetch_httpx() {
  local dir=$1
  mkdir -p "$dir/debs/httpx"
  if ! (cd "$dir/debs/httpx" && apt-get download -q python3-httpx python3-httpcore python3-h11 \
    python3-sniffio python3-anyio python3-rfc3986) >"$dir/debs/httpx.log" 2>&1; then
    echo "httpx not fetched: $(tail -1 "$dir/debs/httpx.log")"
    return 0
  fi
  local deb
  for deb in "$dir"/debs/httpx/*.deb; do
    dpkg-deb -x "$deb" "$dir/httpx"
  done
}

run_test() {
  local source_dir=$1 binary_dir=$2
  work=$(mktemp -d /tmp/runtime-trust.XXXXXX)
  trap 'rm -rf "$work"' EXIT
  make_test_certificates "$work" "Runtime Test"
  fetch_debian_node "$work"
  fetch_httpx "$work"
  cp "$0" "$source_dir/tests/system/runtime_trust/index_server.py" "$work/"
  unshare --mount --net --propagation private -- "$0" --throwaway-root "$work" "$binary_dir"
  echo "PASS"
}

throwaway_root() {
  local work=$1 binary_dir=$2 root=$1/root
  mount_machine_copy "$work"
  cp -r "$work"/{root.pem,server.pem,server.key,index_server.py,runtime_trust_test.sh} "$root/tmp/"
  if [[ -d "$work/node-debian" ]]; then
    cp -r "$work/node-debian" "$root/tmp/"
    mkdir -p "$root/usr/share/nodejs"
    cp -r "$work/node-shared/usr/share/nodejs/." "$root/usr/share/nodejs/"
  fi
  if [[ -d "$work/httpx" ]]; then
    cp -r "$work/httpx/usr/lib/python3/dist-packages" "$root/tmp/httpx"
  fi
  enter_machine_copy "$root" runtime_trust_test.sh --in-root "$binary_dir"
}

start_server() {
  start_server_printing_port 's/^PORT \([0-9]*\)$/\1/p' \
    /usr/bin/python3 -S /tmp/index_server.py /tmp/server.pem /tmp/server.key
}

# name|command, one a line per client; URL stands for the server's address. Each exits 0 only
# when the request succeeded with a trusted certificate.
clients() {
  local node_https='require("https").get(process.argv[1], r => { r.resume(); r.on("end", () => process.exit(r.statusCode === 200 ? 0 : 2)); }).on("error", e => { console.error(e.code ?? e.message); process.exit(1); })'
  local node_fetch='fetch(process.argv[1]).then(r => process.exit(r.ok ? 0 : 2), e => { console.error(e.cause?.code ?? e.message); process.exit(1); })'
  if command -v node >/dev/null && command -v npm >/dev/null; then
    echo "node-https|node -e '$node_https' URL"
    echo "node-fetch|node -e '$node_fetch' URL"
    echo "npm-ping|npm ping --registry URL --fetch-retries 0 --no-update-notifier"
  fi
  if [[ -x $kPython ]]; then
    echo "pip-index|$kPython -m pip index versions demo --index-url URL/simple/ --retries 0 --timeout 10 --no-cache-dir --disable-pip-version-check"
    echo "requests|$kPython -c 'import requests, sys; requests.get(sys.argv[1], timeout=10)' URL"
  fi
  if [[ -x $kPython && -d /tmp/httpx/httpx ]]; then
    echo "httpx|PYTHONPATH=/tmp/httpx $kPython -c 'import httpx, sys; httpx.get(sys.argv[1], timeout=10)' URL"
  fi
  if [[ -x /tmp/node-debian/usr/bin/node ]]; then
    echo "debian-node|LD_LIBRARY_PATH=/tmp/node-debian/usr/lib/x86_64-linux-gnu /tmp/node-debian/usr/bin/node -e '$node_https' URL"
  fi
  echo "curl|curl -sS --max-time 20 -o /dev/null URL"
}

# The environment a desktop session of the user gets: the generator's output over a bare one.
desktop_environment() {
  su -s /bin/sh -c "env -i HOME=/home/$kUser PATH=/usr/bin:/bin $kGenerator" "$kUser" \
    >/tmp/desktop.env || fail "the environment generator failed"
}

# Exit status of each client ("name=status ..."), from a login shell and from a desktop session.
statuses() {
  local url="https://127.0.0.1:$port" line name command status session
  desktop_environment
  for session in login desktop; do
    while IFS='|' read -r name command; do
      command=${command//URL/$url}
      status=0
      if [[ $session == login ]]; then
        su -l "$kUser" -c "$command" >>/tmp/clients.log 2>&1 </dev/null || status=$?
      else
        # The generator prints one variable a line: the client gets those and nothing else.
        printf '%s\n' "$command" >/tmp/command
        su -s /bin/bash -c 'mapfile -t variables </tmp/desktop.env; cd;
          exec env -i HOME="$HOME" PATH=/usr/bin:/bin "${variables[@]}" bash /tmp/command' \
          "$kUser" >>/tmp/clients.log 2>&1 </dev/null || status=$?
      fi
      printf '%s/%s=%s ' "$session" "$name" "$status"
    done < <(clients)
  done
  echo
}

# The session settings folders as a list of files with their digests.
settings_state() {
  find /etc/profile.d /etc/environment.d -type f -exec sha256sum {} + 2>/dev/null | sort
}

# STATUSES ("session/name=status ...") against the clients that must trust at STEP (a list of
# names, "all" or "none"): every other one must refuse.
expect() {
  local step=$1 trusting=" $2 " statuses=$3 entry name got
  for entry in $statuses; do
    name=${entry%=*}
    name=${name#*/}
    got=${entry##*=}
    if [[ $trusting == " all " || $trusting == *" $name "* ]]; then
      [[ $got == 0 ]] || { cat /tmp/clients.log >&2; fail "$step: $entry should trust; all: $statuses"; }
    else
      [[ $got != 0 ]] || { cat /tmp/clients.log >&2; fail "$step: $entry should refuse; all: $statuses"; }
    fi
  done
  echo "$step: trusting:$trusting: $statuses"
}

in_root() {
  local binary_dir=$1
  cd /tmp
  # A plain desktop: no CA settings of the image for pip and npm.
  rm -f /etc/pip.conf /usr/etc/npmrc /etc/npmrc /usr/lib/node_modules/npm/npmrc
  # A desktop has the folder (at-spi2-core ships it); a server image may not.
  mkdir -p /etc/environment.d
  useradd -m -s /bin/bash "$kUser"
  chmod o+x /root  # the image's Python lives under /root/.pyenv
  # A machine without the image's runtimes (a fresh Debian) runs the clients it has.
  command -v node >/dev/null && echo "Node.js $(node --version), npm $(npm --version)"
  [[ -x $kPython ]] && echo "$($kPython --version) with requests and certifi"
  [[ -x /tmp/node-debian/usr/bin/node ]] && echo "Debian's Node.js" \
    "$(LD_LIBRARY_PATH=/tmp/node-debian/usr/lib/x86_64-linux-gnu /tmp/node-debian/usr/bin/node --version)"

  start_server
  settings_state >/tmp/settings-before
  expect "before install" none "$(statuses)"

  TTI_BINARY_DIR=$binary_dir "$binary_dir/bin/module-host" install /tmp/root.pem >/tmp/install.txt ||
    { cat /tmp/install.txt; fail "install"; }
  grep -E '^ +yes +runtime settings +/etc/profile.d/' /tmp/install.txt >/dev/null &&
    grep -E '^ +yes +runtime settings +/etc/environment.d/' /tmp/install.txt >/dev/null ||
    { cat /tmp/install.txt; fail "install does not show both runtime settings files"; }
  expect "after install" all "$(statuses)"

  # Without the settings only the clients that read the system store themselves trust (a node
  # built to use OpenSSL's default store, as Debian builds it, and npm with it).
  local file system_readers="debian-node curl"
  if command -v node >/dev/null &&
    [[ $(node -p process.config.variables.openssl_use_def_ca_store) == true ]]; then
    system_readers+=" node-https node-fetch npm-ping"
  fi
  for file in /etc/profile.d/*_runtimes.sh /etc/environment.d/*_runtimes.conf; do
    mv "$file" /tmp/
  done
  expect "after install, settings files moved away" "$system_readers" "$(statuses)"
  mv /tmp/*_runtimes.sh /etc/profile.d/
  mv /tmp/*_runtimes.conf /etc/environment.d/

  TTI_BINARY_DIR=$binary_dir "$binary_dir/bin/module-host" uninstall /tmp/root.pem \
    >/tmp/uninstall.txt || { cat /tmp/uninstall.txt; fail "uninstall"; }
  [[ $(grep -cE '^ +- +runtime settings +/etc/.* absent$' /tmp/uninstall.txt) == 2 ]] ||
    { cat /tmp/uninstall.txt; fail "uninstall does not show both files absent"; }
  expect "after uninstall" none "$(statuses)"
  settings_state | diff -u /tmp/settings-before - || fail "the session settings changed"
  echo "the session settings are as before"
}

case "${1:-}" in
  --throwaway-root) throwaway_root "$2" "$3" ;;
  --in-root) in_root "$2" ;;
  *) run_test "$@" ;;
esac
