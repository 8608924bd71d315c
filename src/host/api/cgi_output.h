#pragma once
// The host side of raw (CGI) output. During a handler, C stdio `stdout` is the request's CGI
// output: header lines, a blank line, then the body. Once the header block is out, a handler (or
// the package's file writer) may hand the host a file range to send with sendfile(2).
#include <sys/types.h>

#include <cstddef>

namespace QUOR {

// The function the host installs while a request runs; null outside a request.
using SendFileHook = bool (*)(int fd, off_t offset, size_t count);
void SetSendFileHook(SendFileHook hook);

// Flushes stdout and sends `count` bytes of `fd` from `offset` as body bytes. Answers false,
// having sent nothing, when the host offers no sendfile path now (the caller then writes the
// bytes through stdout itself); true when every byte went out.
bool SendFileToOutput(int fd, off_t offset, size_t count);

// False when the peer is gone; long writers (transcoding) stop early then.
bool OutputStillWanted();
using OutputWantedHook = bool (*)();
void SetOutputWantedHook(OutputWantedHook hook);

}  // namespace QUOR
