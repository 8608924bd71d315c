#!/usr/bin/env bash
# Runs a test command in a private mount namespace: a fresh tmpfs over /var/packages and an
# overlay over /etc (so that `useradd` works and its changes vanish with the namespace). The
# machine's own files are never touched.
set -euo pipefail
if [[ "${SONVIK_IN_TEST_NAMESPACE:-}" != "1" ]]; then
  # The scratch folder is only a mount point: its tmpfs lives and dies with the namespace, and
  # the empty folder left outside is removed once the command is done.
  scratch=$(mktemp -d /tmp/sonvik-test-ns.XXXXXX)
  status=0
  unshare --mount --propagation private \
    env SONVIK_IN_TEST_NAMESPACE=1 SONVIK_TEST_SCRATCH="$scratch" "$0" "$@" || status=$?
  rmdir "$scratch" 2>/dev/null || true
  exit "$status"
fi
scratch=${SONVIK_TEST_SCRATCH:?}
mount -t tmpfs -o mode=0755 sonvik-test "$scratch"
mkdir -p "$scratch/etc-upper" "$scratch/etc-work" /var/packages
mount -t overlay overlay -o "lowerdir=/etc,upperdir=$scratch/etc-upper,workdir=$scratch/etc-work" /etc
mount -t tmpfs -o mode=0755 sonvik-packages /var/packages
exec "$@"
