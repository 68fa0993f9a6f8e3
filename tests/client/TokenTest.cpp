#include <gtest/gtest.h>

#include "korvane/base/Base64Url.h"
#include "korvane/base/VirtualScheduler.h"
#include "korvane/client/IcuHelpers.h"
#include "korvane/client/Status.h"
#include "korvane/tests/support/service/ScriptedService.h"

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
    return encodeBase64Url("{" + keys + R"(,"expires":"2026-01-01T00:00:00Z"})");
}

TEST_F(TokenTest, BadTokensSayWhatIsWrongAndQuoteNothing) {
    const std::tuple<std::string, std::int32_t, const char*> cases[] = {
        {"", StatusTokenSize, "empty"},
        {std::string(1 << 20, 'A'), StatusTokenSize, "longer"},
        {"secret!", StatusTokenEncoding, "base64url"},
        {"c2Vj cmV0", StatusTokenEncoding, "base64url"},
        {"====", StatusTokenEncoding, "base64url"},
        {std::string("c2Vj\0cmV0", 9), StatusTokenEncoding, "base64url"},
        {encodeBase64Url("secret"), StatusTokenFormat, "no JSON"},
        {encodeBase64Url("{\"token\":\"secret\""), StatusTokenFormat, "no JSON"},
        {encodeBase64Url(std::string(1000, '[') + std::string(1000, ']')), StatusTokenFormat, "no JSON"},
        {encodeBase64Url("[\"secret\"]"), StatusTokenFormat, "no object"},
        {encodeBase64Url("{}"), StatusTokenKeys, "\"token\""},
        {encodeBase64Url("{\"token\":\"secret\",\"camid\":7}"), StatusTokenKeys, "\"expires\""},
        {whole(R"("token":"secret")"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":7,"camid":7)"), StatusTokenKeys, "\"token\""},
        {whole(R"("token":"","camid":7)"), StatusTokenKeys, "\"token\""},
        {whole(R"("token":"se cret","camid":7)"), StatusTokenKeys, "no header"},
        {whole(R"("token":"secret\r\nX: y","camid":7)"), StatusTokenKeys, "no header"},
        {whole(R"("token":"secret","camid":"7")"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":"secret","camid":18446744073709551615)"), StatusTokenKeys, "\"camid\""},
        {whole(R"("token":"secret","camid":7,"svcp":{})"), StatusTokenKeys, "\"svcp\""},
        {whole(R"("token":"secret","camid":7,"api_p":70000)"), StatusTokenKeys, "\"api_p\""},
        {whole(R"("token":"secret","camid":7,"svcp":"file:///etc/passwd")"), StatusTokenKeys, "URL"},
        {whole(R"("token":"secret","camid":7,"svcp":"http://u:secret@h")"), StatusTokenKeys, "URL"},
        {whole(R"("token":"secret","camid":7,"api":"a/b")"), StatusTokenKeys, "\"api\""},
        {encodeBase64Url(R"({"token":"secret","camid":7,"expires":12})"), StatusTokenKeys, "\"expires\""},
        {encodeBase64Url(R"({"token":"secret","camid":7,"expires":"2023-11-14T22:13:20Z"})"), StatusTokenExpired,
         "2023-11-14T22:13:20.000Z"},
    };
    for (const auto& [token, status, says] : cases) {
        SCOPED_TRACE(token.substr(0, 80));
        url = "before";
        hasPath = true;
        EXPECT_TRUE(parse(token).is_null());
        EXPECT_EQ(std::tuple(code, url, hasPath), std::tuple(status, "", false)) << error;
        EXPECT_NE(error.find(says), std::string::npos) << error;
        EXPECT_EQ(error.find("secret"), std::string::npos) << error;
    }
}

TEST_F(TokenTest, WhiteSpacePaddingAndBothAlphabetsAreTaken) {
    const std::string json = R"({"token":"a?b~~>","expires":"","camid":-1,"x":"???>>>"})";
    const std::string bare = encodeBase64Url(json);
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
    const std::tuple<std::string, const char*, std::int32_t, const char*, bool> cases[] = {
        {R"("svcp":"http://10.0.0.1:8080","api":"other")", "https", 443, "http://10.0.0.1:8080", false},
        {R"("svcp":"https://host/a/b/")", "http", 1, "https://host/a/b", true},
        {R"("svcp":null,"api":"host")", "https", 443, "https://host:443", false},
        {R"("svcp":"","api":"host","api_p":8080,"api_sp":0,"path":"")", "https", 443, "http://host:8080", false},
        {R"("api":"host","api_p":"8080","api_sp":"8443")", "HTTPS", 443, "https://host:8443", false},
        {R"("api":"host","api_p":8080,"api_sp":8443)", "http", 80, "http://host:8080", false},
        {R"("api":"host","path":"x/v2")", "http", 8000, "http://host:8000/x/v2", true},
        {R"("api":"::1","api_p":81)", "http", 80, "http://[::1]:81", false},
    };
    for (const auto& [keys, protocol, port, address, isWithPath] : cases) {
        parse(whole(R"("token":"t","camid":7,)" + keys), protocol, port);
        EXPECT_EQ(std::tuple(code, url, hasPath), std::tuple(StatusSuccess, address, isWithPath)) << keys << error;
    }
    for (const auto& [protocol, port] : {std::pair("ftp", 21), std::pair("https", 0), std::pair("https", 65536)}) {
        parse(whole(R"("token":"t","camid":7,"api":"host")"), protocol, port);
        EXPECT_EQ(code, StatusBadCall) << protocol << port;
    }
}

}  // namespace
}  // namespace korvane::test
