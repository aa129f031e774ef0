#include "tools/veskdb/value_text.h"

#include "libdolmvesk/payloaddb.h"
#include "tools/common/printable.h"

#include <charconv>
#include <ctime>
#include <fmt/format.h>
#include <optional>

namespace veskdb {

namespace {

/// The number that a value is, or whose digits it is.
std::optional<int64_t> numberIn(Value const& value)
{
    if (auto const* const number = std::get_if<int64_t>(&value)) {
        return *number;
    }
    if (auto const* const text = bytesIn(value)) {
        int64_t number = 0;
        char const* const end = text->data() + text->size();
        auto const read = std::from_chars(text->data(), end, number);
        if (read.ec == std::errc() && read.ptr == end) {
            return number;
        }
    }
    return std::nullopt;
}

std::string textOfCounts(Counts const& counts)
{
    std::string parts;
    for (auto const& [name, count] : counts) {
        parts += fmt::format("{}{} {}", parts.empty() ? "" : ", ", escaped(name), count);
    }
    return parts;
}

} // namespace

ValueKind kindOf(std::string const& column)
{
    if (column == "installState") {
        return ValueKind::kState;
    }
    bool const time = column == "installTime" || column == "tsInstalled" || column == "tsModified" ||
                      column == "time_action";
    return time ? ValueKind::kTime : ValueKind::kPlain;
}

std::string const* bytesIn(Value const& value)
{
    if (auto const* const text = std::get_if<std::string>(&value)) {
        return text;
    }
    auto const* const blob = std::get_if<Blob>(&value);
    return blob != nullptr ? &blob->bytes : nullptr;
}

std::string escaped(std::string_view text)
{
    return common::printable(text, "\\\t");
}

std::string isoTime(int64_t seconds)
{
    constexpr int64_t endOfYear9999 = 253402300799;
    time_t const time = static_cast<time_t>(seconds);
    tm utc = {};
    if (seconds < -endOfYear9999 || seconds > endOfYear9999 || time != seconds ||
        gmtime_r(&time, &utc) == nullptr) {
        return std::to_string(seconds);
    }
    std::string text = "0000-00-00T00:00:00Z";
    auto const write = [&](std::size_t last, int number) {
        for (; number > 0; number /= 10) {
            text[last--] = static_cast<char>('0' + number % 10);
        }
    };
    write(3, utc.tm_year + 1900);
    write(6, utc.tm_mon + 1);
    write(9, utc.tm_mday);
    write(12, utc.tm_hour);
    write(15, utc.tm_min);
    write(18, utc.tm_sec);
    return text;
}

void appendText(std::string& text, Value const& value, ValueKind kind)
{
    if (kind == ValueKind::kTime) {
        if (auto const seconds = numberIn(value)) {
            text += isoTime(*seconds);
            return;
        }
    }
    if (auto const* const held = bytesIn(value)) {
        common::appendPrintable(text, *held, "\\\t");
    } else if (auto const* const number = std::get_if<int64_t>(&value)) {
        bool const state = kind == ValueKind::kState;
        text += state && *number == kPdbInstalled      ? "installed"
                : state && *number == kPdbNotInstalled ? "not-installed"
                                                       : std::to_string(*number);
    } else if (auto const* const real = std::get_if<double>(&value)) {
        text += fmt::format("{}", *real);
    } else if (auto const* const condition = std::get_if<bool>(&value)) {
        text += *condition ? "true" : "false";
    } else if (auto const* const counts = std::get_if<Counts>(&value)) {
        text += textOfCounts(*counts);
    } else {
        text += "\\N";
    }
}

std::string textOf(Value const& value, ValueKind kind)
{
    std::string text;
    appendText(text, value, kind);
    return text;
}

std::string asText(Value const& value)
{
    auto const* const text = bytesIn(value);
    return text != nullptr ? *text : std::holds_alternative<Null>(value) ? "" : textOf(value);
}

std::string hexOf(std::string_view bytes)
{
    std::string digits;
    for (char const each : bytes) {
        digits += fmt::format("{:02X}", static_cast<unsigned char>(each));
    }
    return digits;
}

} // namespace veskdb
