// The process is killed, or the machine loses its power, at any moment: every transaction is there whole or not at all,
// and what was committed is there.
#include "tests/reliability/records.h"
#include "tests/support/faults.h"

#include "hooks/Tessarine.h"
#include "tests/support/log_recorder.h"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace testing_support;

namespace {

int const rowsOfTransaction = 3;

bool writeTransaction(Store const& store, VeskSession* session, int number)
{
    bool done = true;
    for (int row = 0; row < rowsOfTransaction; ++row) {
        std::string const key = std::to_string(number) + "/" + std::to_string(row);
        done = store.write(session, key.c_str()) == kVeskOK && done;
    }
    return store.commit(session) == kVeskOK && done;
}

/// Expects the store, opened by the library, to hold the transactions from 0 on, each whole.
///
/// @param committed  how many have been acknowledged
/// @return how many there are
int expectWholeTransactions(Store const& store, int committed)
{
    VeskSession* session = nullptr;
    EXPECT_EQ(store.open(&session), kVeskOK);
    char const** keys = nullptr;
    std::set<std::string> found;
    for (int32_t listed = store.list(session, &keys); listed == kVeskOK && *keys != nullptr; ++keys) {
        found.insert(*keys);
    }
    EXPECT_EQ(store.close(session), kVeskOK);
    int const transactions = static_cast<int>(found.size()) / rowsOfTransaction;
    EXPECT_GE(transactions, committed);
    for (int number = 0; number < transactions; ++number) {
        for (int row = 0; row < rowsOfTransaction; ++row) {
            EXPECT_EQ(found.erase(std::to_string(number) + "/" + std::to_string(row)), 1U)
                << number << '/' << row;
        }
    }
    EXPECT_TRUE(found.empty()) << *found.begin();
    EXPECT_EQ(rows(store.file, "PRAGMA integrity_check"), "ok");
    return transactions;
}

class SuddenDeath : public ScratchRootTest
{
protected:
    /// Lets a body run in another process for ever and kills it after some time; a failed expectation ends it early.
    void killedAtRandom(std::function<void()> const& body)
    {
        pid_t const child = fork();
        if (child == 0) {
            body();
            _exit(1);
        }
        usleep(std::uniform_int_distribution<useconds_t>(0, 12000)(random));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "the process ended by itself";
    }

    std::mt19937 random{12}; // the same moments in every run, as far as processes keep time
};

TEST_F(SuddenDeath, KilledWritersLoseNothingCommitted)
{
    int total = 0;
    for (auto const& store : stores) {
        int written = 0;
        for (int round = 0; round < 50; ++round) {
            SCOPED_TRACE(testing::Message() << store.name << ' ' << round);
            int acknowledged[2];
            ASSERT_EQ(pipe(acknowledged), 0);
            killedAtRandom([&, number = written]() mutable {
                VeskSession* session = nullptr;
                bool fine = store.open(&session) == kVeskOK;
                for (; fine; ++number) {
                    fine = writeTransaction(store, session, number) && write(acknowledged[1], "c", 1) == 1;
                }
            });
            close(acknowledged[1]);
            std::array<char, 1024> count{};
            ssize_t const committed = read(acknowledged[0], count.data(), count.size());
            close(acknowledged[0]);
            ASSERT_LT(committed, 1024);
            written = expectWholeTransactions(store, written + static_cast<int>(committed));
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GT(written, 50);
        total += written;
    }
    std::printf("%d transactions\n", total);
}

TEST_F(SuddenDeath, TheIdentifierIsNeverHalfWritten)
{
    std::string const file = databaseRoot + "Fendrial Tessarine/12/UUID.plist";
    int whole = 0;
    for (int round = 0; round < 200; ++round) {
        killedAtRandom([&] {
            LogRecorder log;
            for (;;) {
                createUUIDFile(LogRecorder::session());
                unlink(file.c_str());
            }
        });
        std::string const identifier = readFile(file);
        EXPECT_TRUE(!exists(file) || identifier.find("</plist>") != std::string::npos) << identifier;
        whole += exists(file) ? 1 : 0;
    }
    EXPECT_GT(whole, 0);
}

/// What a disk holds. Until a file is synced, the system may have written any part of what it was told, in any order.
/// Names are taken to be kept in order, as a journaling file system does.
class Disk
{
public:
    void change(FileChange const& change)
    {
        if (change.place == FaultPlace::kWrite || change.place == FaultPlace::kTruncate) {
            files[change.file]; // its name is there
            unsynced.push_back(&change);
            return;
        }
        auto const ofFile = std::stable_partition(unsynced.begin(), unsynced.end(),
                                                  [&](auto* other) { return other->file != change.file; });
        std::for_each(ofFile, unsynced.end(), [&](auto* other) { apply(*other, other->bytes.size()); });
        unsynced.erase(ofFile, unsynced.end());
        if (change.place == FaultPlace::kDelete) {
            files.erase(change.file);
        }
    }

    /// @param parts  takes the size of an unsynced change and gives how much of it reaches the disk; below 0: nothing
    template<class Parts>
    void losePower(Parts parts)
    {
        for (auto const* change : unsynced) {
            long const part = parts(static_cast<long>(change->bytes.size()));
            if (part >= 0) {
                apply(*change, static_cast<size_t>(part));
            }
        }
    }

    Machine files;
    std::vector<FileChange const*> unsynced;

private:
    void apply(FileChange const& change, size_t size)
    {
        std::string& content = files[change.file];
        auto const offset = static_cast<size_t>(change.offset);
        content.resize(change.place == FaultPlace::kTruncate ? offset
                                                             : std::max(content.size(), offset + size));
        content.replace(offset, size, change.bytes, 0, size);
    }
};

TEST_F(SuddenDeath, LostPowerLosesNothingCommitted)
{
    int images = 0;
    for (auto const& store : stores) {
        root.renew();
        VeskSession* session = nullptr;
        ASSERT_EQ(store.open(&session), kVeskOK);
        ASSERT_EQ(store.close(session), kVeskOK);
        std::string const start = readFile(store.file);
        std::vector<FileChange> changes;
        std::vector<size_t> commits; // how many changes were made when each was acknowledged
        {
            FailingVfs layer;
            ASSERT_EQ(store.open(&session), kVeskOK);
            session->store->queryNR("PRAGMA cache_size = 5");
            FailingVfs::record = &changes;
            for (int number = 0; number < 6; ++number) {
                ASSERT_TRUE(writeTransaction(store, session, number));
                commits.push_back(changes.size());
            }
            FailingVfs::record = nullptr;
            ASSERT_EQ(store.close(session), kVeskOK);
        }
        for (size_t moment = 0; moment <= changes.size(); ++moment) {
            for (int variant = 0; variant < 4 && !HasFailure(); ++variant, ++images) {
                SCOPED_TRACE(testing::Message() << store.name << ' ' << moment << ' ' << variant);
                Disk disk;
                disk.files[store.file] = start;
                std::for_each(changes.begin(), changes.begin() + static_cast<long>(moment),
                              [&](FileChange const& change) { disk.change(change); });
                if (variant > 1) {
                    std::shuffle(disk.unsynced.begin(), disk.unsynced.end(), random);
                }
                disk.losePower([&](long size) { // all of it; nothing; any part
                    return variant == 0   ? size
                           : variant == 1 ? -1
                                          : std::uniform_int_distribution<long>(-size, size)(random);
                });
                unlink((store.file + "-journal").c_str());
                for (auto const& [file, content] : disk.files) {
                    writeFile(file, content);
                }
                auto const acknowledged =
                    std::upper_bound(commits.begin(), commits.end(), moment) - commits.begin();
                expectWholeTransactions(store, static_cast<int>(acknowledged));
            }
        }
    }
    std::printf("%d images\n", images);
}

} // namespace
