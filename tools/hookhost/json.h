/// One JSON object on a line: hookhost's output for programs.
#ifndef TOOLS_HOOKHOST_JSON_H
#define TOOLS_HOOKHOST_JSON_H

#include <nlohmann/json.hpp>
#include <string>

namespace hookhost {

using Json = nlohmann::ordered_json;

/// The object on a line of its own. Bytes that are not UTF-8 become U+FFFD.
inline std::string jsonLine(Json const& object)
{
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace hookhost

#endif
