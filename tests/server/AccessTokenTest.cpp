#include "korvane/server/AccessToken.h"

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "korvane/base/Base64Url.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

TEST(AccessToken, OpensItsCameraUntilItExpiresAndRefusesWhatItDidNotSign) {
    const AccessToken tokens("secret");
    const std::string bearer = tokens.issueBearer(7, 1000);
    const std::string signature = bearer.substr(bearer.find('.'));
    const std::string other = encodeBase64Url(R"({"camid":8,"exp":1000})") + signature;
    EXPECT_EQ(tokens.verify(bearer, 999), 7);
    EXPECT_FALSE(tokens.verify(bearer, 1000));
    EXPECT_FALSE(AccessToken("another").verify(bearer, 0));
    for (const std::string& bad :
         {std::string(), std::string("."), bearer.substr(0, bearer.size() - 1), bearer + "A",
          bearer.substr(0, bearer.find('.') + 1), other, std::string(2'000'000, 'A') + signature})
        EXPECT_FALSE(tokens.verify(bad, 0)) << bad.substr(0, 80);
    std::string flipped = bearer;
    for (char& letter : flipped) {
        const char kept = letter;
        letter = letter == 'A' ? 'B' : 'A';
        // The last letter of each half holds bits that no byte takes.
        if (decodeBase64Url(flipped.substr(0, flipped.find('.'))) !=
            decodeBase64Url(bearer.substr(0, bearer.find('.')))) {
            EXPECT_FALSE(tokens.verify(flipped, 0)) << flipped;
        }
        letter = kept;
    }
}

TEST(AccessToken, WholeTokenSaysWhereTheServiceIs) {
    const AccessToken tokens("secret");
    const auto whole = tokens.issue(7, 1'780'000'000, "https://media.example:8443/base/");
    ASSERT_TRUE(whole);
    const auto json = nlohmann::json::parse(*decodeBase64Url(*whole));
    const nlohmann::json expected = {{"camid", 7},
                                     {"expires", "2026-05-28T20:26:40.000Z"},
                                     {"svcp", "https://media.example:8443/base"},
                                     {"api", "media.example"},
                                     {"api_sp", 8443},
                                     {"api_p", 0},
                                     {"path", "/base"}};
    for (const auto& [key, value] : expected.items()) EXPECT_EQ(json[key], value) << key;
    EXPECT_EQ(tokens.verify(json["token"].get<std::string>(), 0), 7);
    for (const char* good : {"http://[::1]", "http://[fe80::1%25eth0]:80", "https://10.0.0.1/a%20b/"})
        EXPECT_TRUE(tokens.issue(7, INT64_MAX, good)) << good;
    for (const char* bad :
         {"", "ftp://host", "http://", "http://host:0", "http://host:99999", "http://ho st", "http://host:8o",
          "http://host]:80", "http://[::1", "http://[::x]", "http://ho%73t", "http://host/a?b", "http://host/a\nb"})
        EXPECT_FALSE(tokens.issue(7, 1, bad)) << bad;
}

TEST(AccessToken, KeepsOneSecretThatOthersCannotRead) {
    const TempFolder folder;
    const auto first = AccessToken::forDatabase(folder / "camera.db");
    const auto second = AccessToken::forDatabase(folder / "camera.db");
    ASSERT_TRUE(first && second);
    EXPECT_EQ(second->verify(first->issueBearer(3, 10), 0), 3);
    struct stat info {};
    ASSERT_EQ(::stat((folder / "camera.db.key").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    folder.write("damaged.db.key", "short");
    EXPECT_FALSE(AccessToken::forDatabase(folder / "damaged.db"));
}

}  // namespace
}  // namespace korvane
