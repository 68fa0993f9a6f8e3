#include "korvane/apps/browser/Preferences.h"

#include "korvane/apps/browser/Application.h"
#include "korvane/base/Log.h"
#include "korvane/tests/server/TempFolder.h"

namespace korvane {
namespace {

using Look = Preferences::Look;

QString fileIn(const TempFolder& folder) {
    return QString::fromStdString((folder / "browser.conf").string());
}

TEST(Preferences, AreThereAgainAtTheNextStart) {
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    const TempFolder folder;
    int starts = 0;
    for (const bool isOn : {true, false}) {
        for (const Look look : {Look::Light, Look::Dark, Look::System}) {
            {
                Application application(fileIn(folder));
                application.browser().setGroups(isOn);
                application.browser().setPlaysOn(!isOn);
                application.browser().setShowsRecordings(isOn);
                application.preferences().setHasTwelveHours(isOn);
                application.preferences().setMuted(isOn);
                application.preferences().setLook(look);
            }
            // Under another name nothing of the file is known from before.
            const std::string copy = "copy" + std::to_string(++starts) + ".conf";
            std::filesystem::copy_file(folder / "browser.conf", folder / copy);
            Application application(QString::fromStdString((folder / copy).string()));
            EXPECT_EQ(application.browser().groups(), isOn);
            EXPECT_EQ(application.browser().playsOn(), !isOn);
            EXPECT_EQ(application.browser().showsRecordings(), isOn);
            EXPECT_EQ(application.preferences().hasTwelveHours(), isOn);
            EXPECT_EQ(application.preferences().isMuted(), isOn);
            EXPECT_EQ(application.preferences().look(), look);
            EXPECT_EQ(application.preferences().palette(), look == Look::Dark ? Palette::dark() : Palette::light());
        }
    }
}

TEST(Preferences, HaveTheirDefaultsWhereTheFileMakesNoSense) {
    const TempFolder folder;
    const Preferences plain;
    for (const char* text : {"", "\x01\x02", "[General]\ngroups=maybe\nlook=Pink\nhasTwelveHours=7\nmuted=\n",
                             "[General]\nlook=@Variant(\\0\\0)\ngroups=true, true\n"}) {
        folder.write("browser.conf", text);
        const Preferences preferences(fileIn(folder));
        EXPECT_EQ(preferences.groups(), plain.groups()) << text;
        EXPECT_EQ(preferences.look(), Look::System) << text;
        EXPECT_EQ(preferences.hasTwelveHours(), plain.hasTwelveHours()) << text;
        EXPECT_FALSE(preferences.isMuted()) << text;
    }
}

TEST(Preferences, LastUntilTheEndWithoutAFileToWrite) {
    const TempFolder folder;
    folder.write("file", "no folder");
    int lines = 0;
    const LogSink before = setLogSink([&](std::string_view) { ++lines; });
    for (const QString& file : {QString(), QString::fromStdString((folder / "file/browser.conf").string())}) {
        Preferences preferences(file);
        preferences.setGroups(true);
        preferences.setLook(Look::Dark);
        EXPECT_TRUE(preferences.groups());
        EXPECT_TRUE(preferences.isDark());
    }
    setLogSink(before);
    EXPECT_EQ(lines, 1);
}

}  // namespace
}  // namespace korvane
