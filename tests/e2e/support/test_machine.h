#pragma once
// What every end-to-end test program needs around the real server, done once per process:
//  - it must run inside tests/run_in_namespace.sh (private mounts, tmpfs /var/packages, overlay
//    /etc), so that `sonvik init` and `useradd` change nothing of the machine;
//  - /dev gets an overlay too, so that a test can own /dev/log (syslog capture) without touching
//    the machine's /dev;
//  - the process moves into a network namespace of its own with only loopback up, so servers of
//    parallel tests cannot collide and no test can reach beyond the machine.
#include <string>

namespace Sonvik::e2e {

// Idempotent. Fails the test (fatal) when the process is not in the test namespace.
void PrepareTestMachine();

// The `sonvik` binary beside this test program (both land in the build tree's bin/).
std::string SonvikBinary();

}  // namespace Sonvik::e2e
