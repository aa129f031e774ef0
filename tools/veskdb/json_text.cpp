#include "tools/veskdb/json_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace veskdb {

using Json = nlohmann::json;

std::string jsonText(std::string const& text)
{
    bool const plain = std::all_of(text.begin(), text.end(), [](char each) {
        return each >= ' ' && each < '\x7F' && each != '"' && each != '\\';
    });
    return plain ? '"' + text + '"' : Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string jsonNumber(double number)
{
    return Json(number).dump();
}

} // namespace veskdb
