#include <gtest/gtest.h>

#include "korvane/apps/browser/BrowserCommandLine.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

TEST(BrowserCommandLine, TakesAFolderOrAToken) {
    struct Case {
        std::vector<std::string> words;
        std::string folder;
        std::string token;
        std::string capture;
    };
    for (const Case& c : std::vector<Case>{
             {{"films"}, "films", "", ""},
             {{"films", "--capture", "out"}, "films", "", "out"},
             {{"--capture=out", "films"}, "films", "", "out"},
             {{"--token", "abc"}, "", "abc", ""},
             {{"--token=a=b"}, "", "a=b", ""},
             {{"--", "-films"}, "-films", "", ""},
             {{"-"}, "-", "", ""},
         }) {
        const auto line = readBrowserCommandLine(c.words);
        EXPECT_EQ(line.error, "") << c.words.front();
        EXPECT_EQ(line.arguments.folder.value_or("").string(), c.folder) << c.words.front();
        EXPECT_EQ(line.arguments.token, c.token) << c.words.front();
        EXPECT_EQ(line.arguments.capture.value_or("").string(), c.capture) << c.words.front();
    }
    EXPECT_TRUE(readBrowserCommandLine({"--help"}).arguments.help);
    const auto tour = readBrowserCommandLine({"films", "--delete", "--size", "390x844"}).arguments;
    EXPECT_TRUE(tour.mayDelete);
    EXPECT_EQ(tour.size, std::pair(390, 844));
    EXPECT_EQ(readBrowserCommandLine({}).error, "") << "the window asks";
}

TEST(BrowserCommandLine, SaysWhatIsWrongWithoutTheToken) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {""},
             {"a", "b"},
             {"--token"},
             {"--token="},
             {"films", "--token", "s3cret"},
             {"--tokens=s3cret"},
             {"films", "--capture"},
             {"films", "--size", "390"},
             {"films", "--size=0x844"},
             {"films", "--size=390x844x2"},
             {"films", "--delete=all"},
             {"-x"},
             {"--capture", "out"},
         }) {
        const auto line = readBrowserCommandLine(words);
        EXPECT_NE(line.error, "") << words.size();
        EXPECT_EQ(line.error.find("s3cret"), std::string::npos) << line.error;
    }
}

TEST(FolderFault, TellsFoldersThatCannotBeBrowsed) {
    const TempFolder folder;
    std::filesystem::create_directories(folder / "empty");
    folder.write("file.mp4", "x");
    EXPECT_NE(folderFault(folder / "missing").find("no folder"), std::string::npos);
    EXPECT_NE(folderFault(folder / "file.mp4").find("no folder"), std::string::npos);
    EXPECT_EQ(folderFault(folder / "empty"), "") << "what comes later shows by itself";
}

}  // namespace
}  // namespace korvane
