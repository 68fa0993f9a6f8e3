#include "korvane/apps/browser/Preferences.h"

#include "korvane/apps/browser/Application.h"
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
    for (const auto& [isOn, look] : {std::pair(true, Look::Light), {false, Look::Dark}}) {
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

}  // namespace
}  // namespace korvane
