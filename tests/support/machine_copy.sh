# Shell helpers of the tests that run in a throwaway copy of the machine: a private mount and
# network namespace whose root is an overlay over / with every write in a tmpfs, entered with
# chroot, loopback the only network. Sourced by the test scripts, outside and inside the copy (a
# script copies this file into the copy's /tmp beside itself).

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

# A root and a server certificate for 127.0.0.1 issued by it, in DIR: root.pem, root.key,
# server.pem, server.key. ORGANIZATION names the test in both subjects.
make_test_certificates() {
  local dir=$1 organization=$2
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 \
    -subj "/O=$organization/CN=$organization Root" -keyout "$dir/root.key" -out "$dir/root.pem" \
    2>/dev/null
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj "/CN=127.0.0.1" \
    -keyout "$dir/server.key" -out "$dir/server.csr" 2>/dev/null
  openssl x509 -req -days 2 -in "$dir/server.csr" -CA "$dir/root.pem" -CAkey "$dir/root.key" \
    -CAcreateserial -extfile <(printf 'subjectAltName=IP:127.0.0.1\n') -out "$dir/server.pem" \
    2>/dev/null
}

# Inside `unshare --mount --net --propagation private`: loopback up, then / seen through an
# overlay at WORK/root whose upper layer is a tmpfs, the kernel file systems bound in and a fresh
# tmpfs /tmp. The caller copies its files into WORK/root/tmp and calls enter_machine_copy.
mount_machine_copy() {
  local work=$1 root=$1/root layers=$1/layers
  ip link set lo up
  mkdir "$root" "$layers"
  mount -t tmpfs -o mode=0755 tmpfs "$layers"
  mkdir "$layers/upper" "$layers/work"
  mount -t overlay overlay -o "lowerdir=/,upperdir=$layers/upper,workdir=$layers/work" "$root"
  local fs
  for fs in proc sys dev; do
    mount --rbind "/$fs" "$root/$fs"
  done
  mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
  cp "${BASH_SOURCE[0]}" "$root/tmp/machine_copy.sh"
}

# Runs /tmp/SCRIPT with ARGUMENTS in the copy at ROOT with a bare environment: the machine
# exports SSL_CERT_FILE and friends, which would take clients past the system store.
enter_machine_copy() {
  local root=$1 script=$2
  shift 2
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    /bin/bash "/tmp/$script" "$@"
}

# Starts COMMAND in the background with its output in /tmp/server.out and waits up to ten seconds
# for the line that the sed EXPRESSION turns into the port it listens on. Sets `server` (its pid,
# killed when the script exits) and `port`.
start_server_printing_port() {
  local expression=$1
  shift
  : >/tmp/server.out # made here: the job creates it only once it runs
  "$@" >/tmp/server.out 2>&1 &
  server=$!
  trap 'kill "$server" 2>/dev/null || true' EXIT
  local tries
  for tries in $(seq 100); do
    port=$(sed -n "$expression" /tmp/server.out)
    [[ -z "$port" ]] || return 0
    sleep 0.1
  done
  fail "$1 did not start: $(cat /tmp/server.out)"
}
