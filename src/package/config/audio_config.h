#pragma once
// The package's default audio configuration (/var/packages/Sonvik/etc/audio.conf).

// Non-zero when the configuration holds exactly `expected` for `key`; 0 when it holds something
// else, lacks the key, or cannot be read.
extern "C" int QUORAudioDefaultConfCheck(const char* key, const char* expected, int flags);
