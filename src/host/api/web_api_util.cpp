#include "host/api/web_api_util.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

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
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

}  // namespace QUOR
