// HTTPFileOutputer: one file as the rest of a CGI answer.
#include <fcntl.h>
#include <sys/stat.h>

#include <cinttypes>
#include <cstdio>

#include "package/audio/audio_output.h"
#include "package/audio/cgi_writer.h"
#include "package/audio/content_type.h"
#include "package/audio/request_headers.h"
#include "package/audio/response_plan.h"
#include "package/audio/unique_fd.h"

namespace {

// Size and modification time (to the nanosecond) change whenever the bytes do, as far as the
// file system can tell; a tag built from them needs no read of the file.
std::string FileEntityTag(const struct stat& status) {
  uint64_t mtime_ns = static_cast<uint64_t>(status.st_mtim.tv_sec) * 1000000000u +
                      static_cast<uint64_t>(status.st_mtim.tv_nsec);
  char tag[64];
  std::snprintf(tag, sizeof(tag), "\"%" PRIx64 "-%" PRIx64 "\"",
                static_cast<uint64_t>(status.st_size), mtime_ns);
  return tag;
}

}  // namespace

int HTTPFileOutputer::Output(const char* path, const char* content_type) {
  using namespace Sonvik::audio;
  if (path == nullptr) return -1;
  UniqueFd file(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.valid()) return -1;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;

  const uint64_t size = static_cast<uint64_t>(status.st_size);
  Validators validators{FileEntityTag(status), status.st_mtim.tv_sec};
  RequestHeaders request = RequestHeaders::FromEnvironment();
  ResponsePlan plan = PlanResponse(request, validators, size);
  const char* type = content_type != nullptr ? content_type : ContentTypeForPath(path);

  if (!HeadersForPlan(plan, size, type, validators).Send()) return -1;
  if (request.head || plan.length == 0) return 0;
  return SendFileBody(file.get(), plan.first, plan.length) ? 0 : -1;
}
