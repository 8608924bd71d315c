#include "host/api/web_api_util.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <sstream>

namespace QUOR {

Json::Value WebAPIUtil::ParseJson(const std::string& text) {
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) return Json::Value();
  return value;
}

std::string WebAPIUtil::ToCompactString(const Json::Value& value) {
  // Every answer goes through here: building a writer and a stream per call cost more than
  // writing a small answer.
  thread_local const std::unique_ptr<Json::StreamWriter> writer = [] {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return std::unique_ptr<Json::StreamWriter>(builder.newStreamWriter());
  }();
  thread_local std::ostringstream out;
  out.str(std::string());
  out.clear();
  writer->write(value, &out);
  return std::move(out).str();
}

}  // namespace QUOR
