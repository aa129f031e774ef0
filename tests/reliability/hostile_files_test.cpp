// Whatever exists where a database should: no crash, no hang, and documented statuses.
#include "tests/reliability/records.h"

#include <unistd.h>

using namespace testing_support;

namespace {

class HostileFiles : public ScratchRootTest
{
};

TEST_F(HostileFiles, DamagedAndShortenedFilesGiveAStatus)
{
    Machine const machine = makeMachine();
    for (auto const& store : stores) {
        std::string const& content = machine.at(store.file);
        for (size_t at = 0; at < content.size(); at += 61) {
            std::string damaged = content;
            damaged[at] = static_cast<char>(~damaged[at]);
            damaged.resize(at % 8 == 0 ? at : content.size());
            writeFile(store.file, damaged);
            EXPECT_TRUE(useStore(store).documented) << store.file << ' ' << at;
            unlink((store.file + "-journal").c_str());
        }
        writeFile(store.file, content);
    }
}

TEST_F(HostileFiles, WhateverExistsAtThePathGivesAStatus)
{
    // clang-format off
    struct { char const* name; std::function<void(std::string const&)> make; int32_t opened; } const cases[] = {
        {"a pipe", [](std::string const& path) { mkfifo(path.c_str(), 0666); }, kVeskFailed},
        {"a socket", [](std::string const& path) { mknod(path.c_str(), S_IFSOCK | 0666, 0); }, kVeskAccessDenied},
        {"endless versions", [](std::string const& path) { sql(path, "CREATE VIEW pcd_meta (key, value) AS WITH RECURSIVE "
         "n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x, x FROM n"); }, kVeskOK},
        {"another program's database", [](std::string const& path) { sql(path, "CREATE TABLE pcd_meta (x)"); }, kVeskOK},
    };
    // clang-format on
    for (auto const& each : cases) {
        for (auto const& store : stores) {
            SCOPED_TRACE(testing::Message() << each.name << " as " << store.file);
            root.renew();
            makeMachine();
            unlink(store.file.c_str());
            each.make(store.file);
            Outcome const outcome = useStore(store);
            EXPECT_TRUE(outcome.documented && !outcome.kept && outcome.opened == each.opened);
            EXPECT_TRUE(runEveryPhase());
        }
    }
}

} // namespace
