#pragma once
// Switching the process's effective credentials to a named system account.

// Looks `account` up in the system's user database and switches the effective group, the
// supplementary groups (when `reset_groups`) and the effective user to it; real and saved ids
// stay, so the process can switch back. Non-zero on failure (unknown account, no permission);
// the ids may then be partly switched.
extern "C" int ResetCredentialsByName(const char* account, bool reset_groups);
