#include <gtest/gtest.h>

#include "base/VirtualScheduler.h"
#include "client/IcuHelpers.h"
#include "client/Status.h"
#include "tests/support/service/ScriptedService.h"

namespace korvane::test {
namespace {

class TokenTest : public testing::Test {
  protected:
    Reply parse(const std::string& token, const std::string& protocol = "https", std::int32_t port = 443) {
        return helpers.parseToken(token, protocol, port, url, hasPath, code, error);
    }

    VirtualScheduler scheduler{1, 1'700'000'000'000};
    IcuHelpers helpers{scheduler};
    std::string url = "before";
    std::string error = "before";
    bool hasPath = true;
    std::int32_t code = 99;
};

// A token of these keys that has not expired.
std::string whole(const std::string& keys) {
    return base64Url("{" + keys + R"(,"expires":"2026-01-01T00:00:00Z"})");
}

TEST_F(TokenTest, BadTokensSayWhatIsWrongAndQuoteNothing) {
    const struct {
        std::string token;
        std::int32_t code;
        std::string says;
    } cases[] = {
        {"", StatusTokenSize, "empty"},
        {" \n\t", StatusTokenSize, "empty"},
        {std::string(1 << 20, 'A'), StatusTokenSize, "longer"},
        {"secret!", StatusTokenEncoding, "base64url"},
        {"c2Vj cmV0", StatusTokenEncoding, "base64url"},
        {"A", StatusTokenEncoding, "base64url"},
        {"====", StatusTokenEncoding, "base64url"},
        {std::string("c2Vj\0cmV0", 9), StatusTokenEncoding, "base64url"},
        {base64Url("secret"), StatusTokenFormat, "no JSON"},
        {base64Url("{\"token\":\"secret\""), StatusTokenFormat, "no JSON"},
        {base64Url(std::string(1000, '[') + std::string(1000, ']')), StatusTokenFormat, "no JSON"},
        {base64Url("[\"secret\"]"), StatusTokenFormat, "no object"},
        {base64Url("null"), StatusTokenFormat, "no object"},
        {base64Url("{}"), StatusTokenKeys, "\"token\""},
        {base64Url("{\"token\":\"secret\",\"camid\":7}"), StatusTokenKeys, "\"expires\""},
        {whole(R"("token":"secret")"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":7,"camid":7)"), StatusTokenKeys, "\"token\""},
        {whole(R"("token":"","camid":7)"), StatusTokenKeys, "\"token\""},
        {whole(R"("token":null,"camid":7)"), StatusTokenKeys, "\"token\""},
        {whole(R"("token":"secret","camid":"7")"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":"secret","camid":7.5)"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":"secret","camid":18446744073709551615)"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":"secret","camid":7,"svcp":{})"), StatusTokenKeys, "\"svcp\""},
        {whole(R"("token":"secret","camid":7,"api_p":70000)"), StatusTokenKeys, "\"api_p\""},
        {whole(R"("token":"secret","camid":7,"svcp":"file:///etc/passwd")"), StatusTokenKeys, "URL"},
        {whole(R"("token":"secret","camid":7,"svcp":"http://u:secret@h")"), StatusTokenKeys, "URL"},
        {whole(R"("token":"secret","camid":7,"api":"a/b")"), StatusTokenKeys, "\"api\""},
        {base64Url(R"({"token":"secret","camid":7,"expires":12})"), StatusTokenKeys, "\"expires\""},
        {base64Url(R"({"token":"secret","camid":7,"expires":"2023-11-14T22:13:20Z"})"), StatusTokenExpired,
         "2023-11-14T22:13:20.000Z"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.token.substr(0, 80));
        url = "before";
        hasPath = true;
        EXPECT_TRUE(parse(c.token).is_null());
        EXPECT_EQ(code, c.code) << error;
        EXPECT_NE(error.find(c.says), std::string::npos) << error;
        EXPECT_EQ(error.find("secret"), std::string::npos) << error;
        EXPECT_EQ(url, "");
        EXPECT_FALSE(hasPath);
    }
}

TEST_F(TokenTest, WhiteSpacePaddingAndBothAlphabetsAreTaken) {
    const std::string json = R"({"token":"a?b~~>","expires":"","camid":-1,"x":"???>>>"})";
    const std::string bare = base64Url(json);
    std::string standard = bare;
    for (char& c : standard) c = c == '-' ? '+' : c == '_' ? '/' : c;
    ASSERT_NE(bare, standard);
    for (const std::string& token :
         {bare, "\r\n " + bare + "\t\n", bare + std::string((4 - bare.size() % 4) % 4, '='), standard}) {
        const Reply parsed = parse(token);
        EXPECT_EQ(code, StatusSuccess) << error;
        EXPECT_EQ(parsed, (Reply{{"token", "a?b~~>"}, {"expires", ""}, {"camid", -1}}));
        EXPECT_EQ(url, "");
    }
}

TEST_F(TokenTest, TheAddressComesFromTheTokenBeforeTheDefaults) {
    const struct {
        const char* keys;
        const char* protocol;
        std::int32_t port;
        const char* url;
        bool hasPath;
    } cases[] = {
        {R"("svcp":"http://10.0.0.1:8080","api":"other")", "https", 443, "http://10.0.0.1:8080", false},
        {R"("svcp":"https://host/")", "https", 443, "https://host", false},
        {R"("svcp":"https://host/a/b/")", "http", 1, "https://host/a/b", true},
        {R"("svcp":null,"api":"host")", "https", 443, "https://host:443", false},
        {R"("svcp":"","api":"host","api_p":8080,"api_sp":0,"path":"")", "https", 443, "http://host:8080", false},
        {R"("api":"host","api_p":"8080","api_sp":"8443")", "HTTPS", 443, "https://host:8443", false},
        {R"("api":"host","api_p":8080,"api_sp":8443)", "http", 80, "http://host:8080", false},
        {R"("api":"host","api_sp":8443)", "http", 80, "https://host:8443", false},
        {R"("api":"host","path":"x/v2")", "http", 8000, "http://host:8000/x/v2", true},
        {R"("api":"::1","api_p":81)", "http", 80, "http://[::1]:81", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.keys);
        const Reply token = parse(whole(R"("token":"t","camid":7,)" + std::string(c.keys)), c.protocol, c.port);
        EXPECT_EQ(code, StatusSuccess) << error;
        EXPECT_EQ(url, c.url);
        EXPECT_EQ(hasPath, c.hasPath);
        for (const char* key : {"svcp", "api", "api_p", "api_sp", "path"}) {
            EXPECT_TRUE(!token.contains(key) || token[key].is_string()) << key;
        }
    }
    for (const auto& [protocol, port] : {std::pair("ftp", 21), std::pair("https", 0), std::pair("https", 65536)}) {
        parse(whole(R"("token":"t","camid":7,"api":"host")"), protocol, port);
        EXPECT_EQ(code, StatusBadCall) << protocol << port;
    }
}

}  // namespace
}  // namespace korvane::test
