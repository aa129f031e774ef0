#include "tools/hookhost/report.h"

#include "tools/common/descriptor_output.h"
#include "tools/common/printable.h"
#include "tools/hookhost/output.h"

#include <cerrno>
#include <ctime>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace hookhost {

using Json = nlohmann::ordered_json;

namespace {

/// ISO 8601, UTC, with milliseconds.
std::string now()
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    tm utc = {};
    gmtime_r(&time.tv_sec, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, time.tv_nsec / 1000000);
}

std::string textLine(std::string const& mode, std::string const& phase, pid_t process,
                     std::string const& message)
{
    return fmt::format("{} {}/{} {} {}\n", now(), mode, phase, process, common::printable(message));
}

Json jsonRecord(char const* type, std::string const& mode, std::string const& phase, pid_t process)
{
    return {{"type", type}, {"time", now()}, {"mode", mode}, {"phase", phase}, {"pid", process}};
}

/// Bytes that are no UTF-8 become U+FFFD.
std::string jsonLine(Json const& record)
{
    return record.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace

Report::Report(OutputFormat chosenFormat, std::string chosenMode, std::atomic<int>& error)
    : format(chosenFormat), mode(std::move(chosenMode)), writeError(error)
{
}

void Report::message(std::string const& phase, char const* message) const noexcept
{
    char const* const shown = message == nullptr ? "(null)" : message;
    try {
        switch (format) {
        case OutputFormat::kText:
            text(textLine(mode, phase, getpid(), shown));
            break;
        case OutputFormat::kRaw:
            text(std::string(shown) + '\n');
            break;
        case OutputFormat::kJsonLines:
            Json record = jsonRecord("message", mode, phase, getpid());
            record["message"] = shown;
            text(jsonLine(record));
            break;
        }
    } catch (...) { // nothing may pass through the plug-in; but for memory, nothing is known to fail
        writeError = ENOMEM;
    }
}

void Report::returned(std::string const& phase, uint32_t status, double milliseconds) const
{
    if (format == OutputFormat::kText) {
        text(textLine(mode, phase, getpid(),
                      fmt::format("= status {} after {:.1f} ms", status, milliseconds)));
    } else if (format == OutputFormat::kJsonLines) {
        Json record = jsonRecord("phase", mode, phase, getpid());
        record.update({{"outcome", "returned"}, {"status", status}, {"milliseconds", milliseconds}});
        text(jsonLine(record));
    }
}

void Report::failed(std::string const& phase, pid_t worker, Failure const& failure, double milliseconds) const
{
    std::string const told = fmt::format("= failed after {:.1f} ms: {}", milliseconds, failure.reason);
    switch (format) {
    case OutputFormat::kText:
        text(textLine(mode, phase, worker, told));
        break;
    case OutputFormat::kRaw:
        text(fmt::format("{}/{} {}\n", mode, phase, told));
        break;
    case OutputFormat::kJsonLines:
        Json record = jsonRecord("phase", mode, phase, worker);
        record["outcome"] = failure.outcome;
        if (failure.number != 0) {
            record[failure.outcome] = failure.number;
        }
        record.update({{"reason", failure.reason}, {"milliseconds", milliseconds}});
        text(jsonLine(record));
        break;
    }
}

void Report::text(std::string const& lines) const
{
    int const error = common::writeAll(STDOUT_FILENO, lines);
    if (error != 0) {
        writeError = error;
    }
}

} // namespace hookhost
