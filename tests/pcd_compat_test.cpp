// The configuration stores: how the master and the cache store hang together, and their settings.
#include "libdolmvesk/pcd_compat.h"
#include "tests/support/database_file.h"
#include "tests/support/scratch_root.h"
#include "tests/support/stores.h"

#include <gmock/gmock.h>
#include <unistd.h>
#include <utility>

using namespace testing_support;
using testing::Each;
using testing::UnorderedElementsAre;
using Texts = std::vector<std::string>;

namespace {

class ConfigurationStores : public ScratchRootTest
{
};

Texts entries(char const* const* list)
{
    Texts texts;
    for (; *list != nullptr; ++list) {
        texts.emplace_back(*list);
    }
    return texts;
}

TEST_F(ConfigurationStores, TheMasterBringsTheCacheAlong)
{
    VeskSession* session = nullptr;
    opened(pcdOpenCacheSession);
    EXPECT_EQ(pcdOpenSessionNoCreate(&session), kVeskNotFound);
    EXPECT_FALSE(exists(masterFile)); // and never the other way round
    for (auto const open : {pcdOpenSession, pcdOpenSessionNoCreate}) {
        unlink(cacheFile.c_str());
        rmdir((databaseRoot + "Zelko PCD/cache").c_str());
        opened(open);
        EXPECT_EQ(sql(cacheFile, "SELECT count(*) FROM pcd_meta"), Texts{"2"});
    }
    // When the cache fails, its status comes with a live session on the master.
    unlink(cacheFile.c_str());
    makeFolders(cacheFile);
    EXPECT_EQ(pcdOpenSession(&session), kVeskFailed);
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(pcdSetDomainData(session, 1, "s", "k", "v"), kVeskOK);
    EXPECT_EQ(pcdCloseSession(session), kVeskOK);
    EXPECT_EQ(sql(masterFile, "SELECT value FROM domain_data"), Texts{"v"});
}

TEST_F(ConfigurationStores, SettingsComeBackAsTheyWereSet)
{
    struct
    {
        int32_t domain;
        char const *subdomain, *key;
        std::string value;
    } const cases[] = {
        {0, "s", "k", "zero"},
        {-1, "s", "k", "minus one"},
        {INT32_MIN, "s", "k", "least"},
        {INT32_MAX, "s", "k", "most"},
        {1, "it's", "O''k", "'); DROP TABLE domain_data; --"},
        {1, "", "", ""},
        {1, "S", "K", "another case"},
        {1, "%s%d%q", "%", "100 %n"},
        {1, "Größe 日", "🔑", "a\nb\t\"\\"},
        {1, "large", "k", std::string(1 << 20, 'v')},
    };
    for (auto const open : {pcdOpenSession, pcdOpenCacheSession}) {
        std::string const& file = open == pcdOpenSession ? masterFile : cacheFile;
        {
            auto const session = opened(open);
            for (auto const& each : cases) {
                for (char const* value : {"replaced", each.value.c_str()}) {
                    EXPECT_EQ(pcdSetDomainData(session.get(), each.domain, each.subdomain, each.key, value),
                              0);
                }
            }
            EXPECT_EQ(sql(file, "SELECT * FROM domain_data"), Texts{}); // the session's transaction
        }
        auto const session = opened(open);
        for (auto const& each : cases) {
            char const* value = nullptr;
            EXPECT_EQ(pcdGetDomainData(session.get(), each.domain, each.subdomain, each.key, &value), 0);
            EXPECT_STREQ(value, each.value.c_str());
        }
        EXPECT_EQ(sql(file, "SELECT count(*), min(typeof(domain)), min(domain) FROM domain_data"),
                  (Texts{"10", "text", "-1"}));
    }
}

TEST_F(ConfigurationStores, SettingsAreListedAndRemoved)
{
    auto const open = opened(pcdOpenSession);
    VeskSession* const session = open.get();
    for (char const* key : {"1", "2", "3", "4"}) {
        EXPECT_EQ(pcdSetDomainData(session, 3, "many", key, key), kVeskOK);
    }
    EXPECT_EQ(pcdSetDomainData(session, 3, "one", "1", "v"), kVeskOK);
    EXPECT_EQ(pcdSetDomainData(session, -3, "other", "5", "v"), kVeskOK);
    char const **keys = nullptr, **subdomains = nullptr, **left = nullptr;
    char const *value = nullptr, *gone = "before";
    EXPECT_EQ(pcdGetDomainDataKeys(session, 3, "many", &keys), kVeskOK);
    EXPECT_EQ(pcdGetDomainDataSubdomains(session, 3, &subdomains), kVeskOK);
    EXPECT_EQ(pcdGetDomainData(session, 3, "many", "1", &value), kVeskOK);
    for (int round = 0; round < 2; ++round) { // what is not there is no error
        EXPECT_EQ(pcdSetDomainData(session, 3, "many", "1", nullptr), kVeskOK);
        EXPECT_EQ(pcdRemoveDomainData(session, 3, "many", "2"), kVeskOK);
        EXPECT_EQ(pcdRemoveDomainData(session, -3, "other", "5"), kVeskOK);
    }
    EXPECT_EQ(pcdGetDomainData(session, 3, "many", "1", &gone), kVeskNotFound);
    EXPECT_EQ(gone, nullptr);
    EXPECT_EQ(pcdGetDomainDataKeys(session, 3, "many", &left), kVeskOK);
    EXPECT_THAT(entries(left), UnorderedElementsAre("3", "4"));
    EXPECT_EQ(pcdGetDomainDataKeys(session, -3, "other", &left), kVeskNotFound);
    EXPECT_EQ(std::exchange(left, nullptr), empty_list);
    EXPECT_EQ(pcdGetDomainDataSubdomains(session, -3, &left), kVeskNotFound);
    EXPECT_EQ(left, empty_list);
    // What was read stays as it was, to the end of the session.
    EXPECT_EQ(pcdSessionRollback(session), kVeskOK);
    EXPECT_THAT(entries(keys), UnorderedElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(entries(subdomains), UnorderedElementsAre("many", "one"));
    EXPECT_STREQ(value, "1");
}

TEST_F(ConfigurationStores, MissingArgumentsAreRefused)
{
    auto const open = opened(pcdOpenSession);
    VeskSession* const s = open.get();
    VeskSession storeless{};
    ASSERT_EQ(pcdSetDomainData(s, 1, "s", "k", "v"), kVeskOK);
    char const* value = "before";
    char const** list = nullptr;
    for (VeskSession* const session : {&storeless, static_cast<VeskSession*>(nullptr)}) {
        int32_t const status = session == nullptr ? kVeskInvalidArgument : kVeskNoDataStore;
        EXPECT_EQ(pcdGetDomainData(session, 1, "s", "k", &value), status);
        EXPECT_EQ(pcdSetDomainData(session, 1, "s", "k", nullptr), status);
        EXPECT_EQ(pcdRemoveDomainData(session, 1, "s", "k"), status);
        EXPECT_EQ(pcdGetDomainDataKeys(session, 1, "s", &list), status);
        EXPECT_EQ(pcdGetDomainDataSubdomains(session, 1, &list), status);
    }
    int32_t const statuses[] = {
        pcdGetDomainData(s, 1, nullptr, "k", &value), pcdGetDomainData(s, 1, "s", nullptr, &value),
        pcdGetDomainData(s, 1, "s", "k", nullptr),    pcdSetDomainData(s, 1, nullptr, "k", nullptr),
        pcdSetDomainData(s, 1, "s", nullptr, "v"),    pcdRemoveDomainData(s, 1, nullptr, "k"),
        pcdRemoveDomainData(s, 1, "s", nullptr),      pcdGetDomainDataKeys(s, 1, nullptr, &list),
        pcdGetDomainDataKeys(s, 1, "s", nullptr),     pcdGetDomainDataSubdomains(s, 1, nullptr)};
    EXPECT_THAT(statuses, Each(kVeskInvalidArgument));
    EXPECT_STREQ(value, "before");
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(pcdGetDomainData(s, 1, "s", "k", &value), kVeskOK);
    EXPECT_STREQ(value, "v");
}

} // namespace
