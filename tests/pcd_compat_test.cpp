// The configuration stores: how opening the master store involves the cache store, and the settings of both.
#include "libdolmvesk/pcd_compat.h"
#include "tests/support/stores.h"

#include <unistd.h>

using namespace testing_support;

namespace {

class ConfigurationStores : public ScratchRootTest
{
};

TEST_F(ConfigurationStores, OpeningTheMasterCreatesTheCache)
{
    VeskSession* session = nullptr;
    opened(pcdOpenCacheSession);
    EXPECT_EQ(pcdOpenSessionNoCreate(&session), kVeskNotFound); // the cache does not create the master
    for (auto const open : {pcdOpenSession, pcdOpenSessionNoCreate}) {
        unlink(cacheFile.c_str());
        opened(open);
        EXPECT_EQ(rows(cacheFile, "SELECT count(*) FROM pcd_meta"), "2");
    }
    // If the cache fails, its status is returned with an open session on the master.
    unlink(cacheFile.c_str());
    makeFolders(cacheFile);
    EXPECT_EQ(pcdOpenSession(&session), kVeskFailed);
    ASSERT_NE(session, nullptr);
    EXPECT_TRUE(allGive(kVeskOK, {pcdSetDomainData(session, 1, "s", "k", "v"), pcdCloseSession(session)}));
    EXPECT_EQ(rows(masterFile, "SELECT value FROM domain_data"), "v");
}

TEST_F(ConfigurationStores, SettingsComeBackAsTheyWereSet)
{
    // clang-format off
    struct { int32_t domain; char const *subdomain, *key; std::string value; } const cases[] = {
        {0, "s", "k", "zero"},
        {INT32_MIN, "s", "k", "least"},
        {INT32_MAX, "s", "k", "most"},
        {1, "it's", "O''k", "'); DROP TABLE domain_data; --"},
        {1, "", "", ""},
        {1, "S", "K", "another case"},
        {1, "%s%d%q", "%", "100 %n"},
        {1, "Größe 日", "🔑", "a\nb\t\"\\"},
        {1, "large", "k", std::string(1 << 20, 'v')},
    };
    // clang-format on
    for (auto const open : {pcdOpenSession, pcdOpenCacheSession}) {
        std::string const& file = open == pcdOpenSession ? masterFile : cacheFile;
        auto session = opened(open);
        auto* const s = session.get();
        for (auto const& [domain, subdomain, key, value] : cases) {
            EXPECT_TRUE(allGive(kVeskOK, {pcdSetDomainData(s, domain, subdomain, key, "replaced"),
                                          pcdSetDomainData(s, domain, subdomain, key, value.c_str())}));
        }
        EXPECT_EQ(rows(file, "SELECT * FROM domain_data"), ""); // the session's transaction
        session = nullptr;
        session = opened(open);
        for (auto const& [domain, subdomain, key, value] : cases) {
            EXPECT_TRUE(textOf(pcdGetDomainData, session, domain, subdomain, key) == value) << key;
        }
        EXPECT_EQ(rows(file, "SELECT count(*), min(typeof(domain)), min(domain) FROM domain_data"),
                  "9,text,-2147483648");
    }
}

TEST_F(ConfigurationStores, SettingsAreListedAndRemoved)
{
    auto const open = opened(pcdOpenSession);
    VeskSession* const s = open.get();
    for (auto const& [subdomain, key] :
         {std::pair("many", "1"), {"many", "2"}, {"many", "3"}, {"one", "1"}}) {
        EXPECT_EQ(pcdSetDomainData(s, 3, subdomain, key, "v"), kVeskOK);
    }
    EXPECT_EQ(pcdSetDomainData(s, -3, "other", "5", "v"), kVeskOK);
    char const **keys = nullptr, *value = nullptr;
    EXPECT_EQ(pcdGetDomainDataKeys(s, 3, "one", &keys), kVeskOK);
    EXPECT_EQ(pcdGetDomainData(s, 3, "many", "1", &value), kVeskOK);
    EXPECT_EQ(listed(pcdGetDomainDataKeys, open, 3, "many").size(), 6U);
    EXPECT_EQ(listed(pcdGetDomainDataSubdomains, open, 3).size(), 9U); // each once
    for (int round = 0; round < 2; ++round) {                          // a missing setting is no error
        EXPECT_TRUE(allGive(kVeskOK, {pcdSetDomainData(s, 3, "many", "1", nullptr),
                                      pcdRemoveDomainData(s, 3, "many", "2"),
                                      pcdRemoveDomainData(s, -3, "other", "5")}));
    }
    EXPECT_EQ(textOf(pcdGetDomainData, open, 3, "many", "1"), "status 8");
    EXPECT_EQ(listed(pcdGetDomainDataKeys, open, 3, "many"), "3,");
    EXPECT_EQ(listed(pcdGetDomainDataKeys, open, -3, "other"), "status 8");
    EXPECT_EQ(listed(pcdGetDomainDataSubdomains, open, -3), "status 8");
    EXPECT_EQ(pcdSessionRollback(s), kVeskOK);
    EXPECT_EQ(keys[0] + std::string(value), "1v"); // results stay until the session is closed
}

} // namespace
