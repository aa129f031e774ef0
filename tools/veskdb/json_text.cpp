#include "tools/veskdb/json_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace veskdb {

using Json = nlohmann::json;

bool appendPlain(std::string& result, std::string const& text)
{
    bool const plain = std::all_of(text.begin(), text.end(), [](char each) {
        return each >= ' ' && each < '\x7F' && each != '"' && each != '\\';
    });
    if (plain) {
        result += '"';
        result += text;
        result += '"';
    }
    return plain;
}

std::string jsonText(std::string const& text)
{
    std::string result;
    return appendPlain(result, text) ? result
                                     : Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string jsonNumber(double number)
{
    return Json(number).dump();
}

} // namespace veskdb
