// The per-user settings folder on Linux: the XDG configuration folder and its fallbacks.
#include "../testtext.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

std::string savable(const char* sub)
{
    WChar buffer[4096];
    Application::getSavablePath(buffer, 4096, W(sub).c_str());
    return toPath(buffer).string();
}

TEST(SettingsFolder, FollowsTheXdgRules)
{
    ScratchDir scratch;
    fs::create_directory(scratch.path() / "home");
    const std::string home = (scratch.path() / "home").string();
    EnvironmentScope environment;
    environment.set("HOME", home.c_str());

    // No XDG_CONFIG_HOME: ~/.config, made private when missing.
    environment.set("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(savable("Prog"), home + "/.config/ORVANE_GUI_CFG/Prog");
    struct stat info;
    ASSERT_EQ(stat((home + "/.config").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    EXPECT_TRUE(fs::is_directory(home + "/.config/ORVANE_GUI_CFG/Prog"));

    // A relative XDG_CONFIG_HOME is to be ignored.
    environment.set("XDG_CONFIG_HOME", "relative/config");
    EXPECT_EQ(savable("Prog"), home + "/.config/ORVANE_GUI_CFG/Prog");

    // An absolute one is used as given, trailing slashes aside.
    const std::string config = (scratch.path() / "xdg").string();
    environment.set("XDG_CONFIG_HOME", (config + "//").c_str());
    EXPECT_EQ(savable("Other"), config + "/ORVANE_GUI_CFG/Other");
    EXPECT_TRUE(fs::is_directory(config + "/ORVANE_GUI_CFG/Other"));
}

} // namespace
