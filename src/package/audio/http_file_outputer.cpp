// HTTPFileOutputer: one file as the rest of a CGI answer.
#include <fcntl.h>
#include <sys/stat.h>

#include "package/audio/audio_output.h"
#include "package/audio/cgi_writer.h"
#include "package/audio/content_type.h"
#include "package/audio/file_validators.h"
#include "package/audio/request_headers.h"
#include "package/audio/response_plan.h"
#include "package/util/unique_fd.h"

int HTTPFileOutputer::Output(const char* path, const char* content_type) {
  using namespace Sonvik::audio;
  if (path == nullptr) return -1;
  // Non-blocking so that a FIFO planted in the library cannot hang the worker in open().
  Sonvik::util::UniqueFd file(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!file.valid()) return -1;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return -1;

  const uint64_t size = static_cast<uint64_t>(status.st_size);
  Validators validators = FileValidators(status);
  RequestHeaders request = RequestHeaders::FromEnvironment();
  ResponsePlan plan = PlanResponse(request, validators, size);
  const char* type = content_type != nullptr ? content_type : ContentTypeForPath(path);

  if (!HeadersForPlan(plan, size, type, validators).Send()) return -1;
  if (request.head || plan.length == 0) return 0;
  return SendFileBody(file.get(), plan.first, plan.length) ? 0 : -1;
}
