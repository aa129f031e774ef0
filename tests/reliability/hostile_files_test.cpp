// Whatever lies where a database should: no crash, no hang, and statuses that the library tells of.
#include "tests/reliability/records.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace testing_support;

namespace {

class HostileFiles : public ScratchRootTest
{
};

TEST_F(HostileFiles, EveryDamagedByteIsAnswered)
{
    size_t const distance = 17;
    int count = 0;
    Machine const machine = makeMachine();
    for (auto const& store : stores) {
        std::string const& content = machine.at(store.file);
        for (size_t at = 0; at < content.size() && !HasFailure(); at += distance, ++count) {
            std::string damaged = content;
            damaged[at] = static_cast<char>(~damaged[at]);
            writeFile(store.file, damaged);
            EXPECT_TRUE(useStore(store).documented) << store.name << ' ' << at;
            unlink((store.file + "-journal").c_str());
        }
        writeFile(store.file, content);
    }
    std::printf("%d damaged files\n", count);
}

TEST_F(HostileFiles, EveryCutIsAnswered)
{
    Machine const machine = makeMachine();
    for (auto const& store : stores) {
        std::string const& content = machine.at(store.file);
        for (size_t size = 0; size < content.size(); size += 997) {
            writeFile(store.file, content.substr(0, size));
            EXPECT_TRUE(useStore(store).documented) << store.name << ' ' << size;
            unlink((store.file + "-journal").c_str());
        }
        writeFile(store.file, content);
    }
}

TEST_F(HostileFiles, WhateverStandsAtThePathIsAnswered)
{
    std::string const countsForEver =
        "(key, value) AS WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT x, x FROM n";
    struct
    {
        char const* name;
        std::function<void(std::string const&)> make;
        int32_t opened;
    } const cases[] = {
        {"a folder", makeFolders, kVeskFailed},
        {"a pipe", [](std::string const& path) { mkfifo(path.c_str(), 0666); }, kVeskFailed},
        {"a socket",
         [](std::string const& path) {
             // A socket's address holds no long path.
             sockaddr_un address = {AF_UNIX, "/socket"};
             int const listener = socket(AF_UNIX, SOCK_STREAM, 0);
             EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
             EXPECT_EQ(rename("/socket", path.c_str()), 0);
             close(listener);
         },
         kVeskAccessDenied},
        {"random bytes",
         [](std::string const& path) {
             std::mt19937 random(17); // NOLINT(cert-msc51-cpp)
             std::string bytes(20000, '\0');
             std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
             writeFile(path, bytes);
         },
         kVeskOK},
        {"versions without end",
         [&](std::string const& path) { sql(path, "CREATE VIEW pcd_meta" + countsForEver); }, kVeskOK},
        {"another program's database",
         [](std::string const& path) { sql(path, "CREATE TABLE pcd_meta (x)"); }, kVeskOK},
    };
    for (auto const& each : cases) {
        for (auto const& store : stores) {
            SCOPED_TRACE(testing::Message() << each.name << " as " << store.name);
            root.renew();
            makeMachine();
            unlink(store.file.c_str());
            each.make(store.file);
            auto const start = std::chrono::steady_clock::now();
            Outcome const outcome = useStore(store);
            EXPECT_TRUE(outcome.documented);
            EXPECT_EQ(outcome.opened, each.opened);
            EXPECT_FALSE(outcome.kept);
            EXPECT_TRUE(runEveryPhase());
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        }
    }
}

} // namespace
