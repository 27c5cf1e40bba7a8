// Application's paths: the program's folder, the savable folder and file, folders, files,
// temporary files and the table of temporary names.
#include "testtext.h"

#include <gtest/gtest.h>

#include <vexapi/app/activeformspointer.h>

#include <memory>

namespace {

WString cfgRoot(const WString& userRoot)
{
    return join(userRoot, W("ORVANE_GUI_CFG"));
}

// Removes the folders a test made below the real user folder (Windows), leaving the
// common folder when others use it.
void removeOwnFolder(const WString& userRoot, const WString& own)
{
    std::error_code ignored;
    fs::remove_all(toPath(join(cfgRoot(userRoot), own)), ignored);
    fs::remove(toPath(cfgRoot(userRoot)), ignored); // only when empty
}

TEST(PathSyntax, AbsoluteSeparatorsAndLineEnd)
{
    for (const PathCase& c : pathCases())
        EXPECT_EQ(Application::isPathAbsolute(c.path.c_str()), c.absolute) << hexOf(c.path);
    EXPECT_FALSE(Application::isPathAbsolute(nullptr));
    for (const auto& c : separatorCases())
        EXPECT_EQ(Application::isPathSep(c.first), c.second) << c.first;
    EXPECT_TRUE(Application::isPathSep(Application::pathSep()));
    EXPECT_EQ(WString(Application::eoln()), expectedLineEnd());
}

TEST(ExecutablePath, FolderOfTheRunningProgram)
{
    WChar folder[4096];
    int length = Application::getExecutablePath(folder, 4096);
    ASSERT_GT(length, 0);
    EXPECT_EQ(std::size_t(length), WString(folder).size());
    EXPECT_FALSE(Application::isPathSep(folder[length - 1]));
    EXPECT_TRUE(Application::isPathAbsolute(folder));
    EXPECT_TRUE(fs::exists(toPath(join(folder, W(VEXAPI_TEST_EXECUTABLE)))));

    // A short buffer gets the start and the whole length is still told.
    WChar shortBuffer[6];
    EXPECT_EQ(Application::getExecutablePath(shortBuffer, 6), length);
    EXPECT_EQ(WString(shortBuffer), WString(folder).substr(0, 5));
    EXPECT_EQ(Application::getExecutablePath(nullptr, 0), length);
}

TEST(FileSystem, ExistDeleteAndTheInvertedResult)
{
    ScratchDir scratch;
    WString file = scratch.wpath("present.txt");
    std::ofstream(toPath(file)) << "x";
    EXPECT_TRUE(Application::fsEntryExist(file.c_str()));
    EXPECT_TRUE(Application::fsEntryExist(scratch.wpath().c_str()));
    EXPECT_FALSE(Application::fsEntryExist(scratch.wpath("absent").c_str()));
    EXPECT_FALSE(Application::fsEntryExist(nullptr));

    // true means "could not delete".
    EXPECT_FALSE(Application::deleteFile(file.c_str()));
    EXPECT_FALSE(fs::exists(toPath(file)));
    EXPECT_TRUE(Application::deleteFile(file.c_str()));
    EXPECT_TRUE(Application::deleteFile(scratch.wpath().c_str())) << "a folder is no file";
    EXPECT_TRUE(fs::exists(scratch.path()));
}

TEST(CreateDirectory, WalksThePathSkippingDoubledAndTrailingSeparators)
{
    ScratchDir scratch;
    const WChar sep = Application::pathSep();
    WString path = W("one") + sep + sep + W("two") + sep;
    ASSERT_TRUE(Application::createDirectory(scratch.wpath().c_str(), path.c_str()));
    EXPECT_TRUE(fs::is_directory(scratch.path() / "one" / "two"));
    // Folders that exist are fine, and a base with its separator works alike.
    WString base = scratch.wpath() + sep;
    WString deeper = W("one") + sep + W("two") + sep + W("three");
    EXPECT_TRUE(Application::createDirectory(base.c_str(), deeper.c_str()));
    EXPECT_TRUE(fs::is_directory(scratch.path() / "one" / "two" / "three"));
    // A leading separator of the path adds no folder.
    WString leading = WString(1, sep) + W("four");
    EXPECT_TRUE(Application::createDirectory(scratch.wpath().c_str(), leading.c_str()));
    EXPECT_TRUE(fs::is_directory(scratch.path() / "four"));
}

TEST(CreateDirectory, RefusesBadArgumentsAndTouchesNothing)
{
    ScratchDir scratch;
    WString relative = ownName("relative-base");
    EXPECT_FALSE(Application::createDirectory(relative.c_str(), W("sub").c_str()));
    EXPECT_FALSE(fs::exists(toPath(relative)));
    EXPECT_FALSE(Application::createDirectory(W("").c_str(), W("sub").c_str()));
    EXPECT_FALSE(Application::createDirectory(scratch.wpath().c_str(), W("").c_str()));
    EXPECT_FALSE(Application::createDirectory(nullptr, W("sub").c_str()));
    EXPECT_FALSE(Application::createDirectory(scratch.wpath().c_str(), nullptr));
    EXPECT_TRUE(fs::is_empty(scratch.path()));

    // A file where a folder should be: the name exists, but nothing can go below it.
    std::ofstream(scratch.path() / "file") << "x";
    WString below = W("file") + Application::pathSep() + W("sub");
    EXPECT_FALSE(Application::createDirectory(scratch.wpath().c_str(), below.c_str()));
}

TEST(SavablePath, MadeBelowTheUserFolder)
{
    ScratchDir scratch;
    EnvironmentScope environment;
    WString root = userSettingsRoot(environment, scratch.wpath());
    ASSERT_FALSE(root.empty());
    WString own = ownName("savable");
    WString expected = join(cfgRoot(root), own);

    WChar buffer[4096];
    int length = Application::getSavablePath(buffer, 4096, own.c_str());
    EXPECT_EQ(WString(buffer), expected);
    EXPECT_EQ(std::size_t(length), expected.size());
    EXPECT_TRUE(fs::is_directory(toPath(expected)));

    // A sub-folder given with its separator gets no second one.
    WString withSeparator = WString(1, Application::pathSep()) + own;
    Application::getSavablePath(buffer, 4096, withSeparator.c_str());
    EXPECT_EQ(WString(buffer), expected);

    // Without a sub-folder: the common folder.
    EXPECT_EQ(std::size_t(Application::getSavablePath(buffer, 4096, nullptr)),
              cfgRoot(root).size());
    EXPECT_EQ(WString(buffer), cfgRoot(root));

    // A short buffer is not overrun; the whole length is still told.
    WChar shortBuffer[8];
    EXPECT_EQ(Application::getSavablePath(shortBuffer, 8, own.c_str()), length);
    EXPECT_EQ(WString(shortBuffer), expected.substr(0, 7));
    removeOwnFolder(root, own);
}

// An application whose savable folder is chosen by the test, counting the questions.
class FixedFolderApp : public Application {
public:
    int getSavablePath(WChar* buffer, int size) override
    {
        ++asked;
        WString::size_type n = folder.copy(buffer, std::size_t(size - 1));
        buffer[n] = 0;
        return int(folder.size());
    }
    WString folder;
    int asked = 0;
};

TEST(SavableFile, EmptyFolderGivesTheBareNameAndAsksAgain)
{
    FixedFolderApp app;
    EXPECT_EQ(WString(app.getSavableFile(W("options.dat").c_str())), W("options.dat"));
    EXPECT_EQ(WString(app.getSavableFile(W("other.dat").c_str())), W("other.dat"));
    EXPECT_EQ(app.asked, 2);
}

TEST(SavableFile, FolderIsAskedOnceAndKept)
{
    FixedFolderApp app;
    app.folder = W("settings");
    EXPECT_EQ(WString(app.getSavableFile(W("options.dat").c_str())), join(W("settings"), W("options.dat")));
    app.folder = W("changed");
    EXPECT_EQ(WString(app.getSavableFile(W("b").c_str())), join(W("settings"), W("b")));
    EXPECT_EQ(app.asked, 1);

    // A new application object asks its own virtual.
    FixedFolderApp next;
    next.folder = W("next");
    EXPECT_EQ(WString(next.getSavableFile(W("c").c_str())), join(W("next"), W("c")));
    EXPECT_EQ(next.asked, 1);
}

TEST(SavableFile, DefaultFolderIsTheApplicationSubfolder)
{
    ScratchDir scratch;
    EnvironmentScope environment;
    WString root = userSettingsRoot(environment, scratch.wpath());
    WString folder = join(cfgRoot(root), W("Application"));
    bool existed = fs::exists(toPath(folder));
    {
        Application app;
        EXPECT_EQ(WString(app.getSavableFile(W("options.dat").c_str())),
                  join(folder, W("options.dat")));
    }
    EXPECT_TRUE(fs::is_directory(toPath(folder)));
    if (!existed)
        removeOwnFolder(root, W("Application"));
}

TEST(TemporaryFile, MadeInTheSystemFolderWithThePrefix)
{
    ScratchDir scratch;
    fs::create_directory(scratch.path() / "tmp");
    EnvironmentScope environment;
    environment.set(tempFolderVariable(), (scratch.path() / "tmp").string().c_str());

    WChar* first = Application::getTemporaryFile();
    ASSERT_NE(first, nullptr);
    WString firstName = first;
    fs::path made = toPath(firstName);
    EXPECT_EQ(made.parent_path(), scratch.path() / "tmp");
    EXPECT_EQ(made.filename().string().substr(0, 3), "VXL");
    EXPECT_TRUE(fs::is_regular_file(made));
    EXPECT_EQ(fs::file_size(made), 0u);

    WChar* second = Application::getTemporaryFile();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(WString(second), firstName);
    EXPECT_TRUE(fs::is_regular_file(toPath(second)));
}

TEST(TemporaryFile, FallsBackToNumberedNamesInTheSavableTempFolder)
{
    ScratchDir scratch;
    EnvironmentScope environment;
    environment.set(tempFolderVariable(), (scratch.path() / "missing").string().c_str());
    WString root = userSettingsRoot(environment, scratch.wpath());
    WString folder = join(cfgRoot(root), W("Temp"));
    bool existed = fs::exists(toPath(folder));

    std::string pid = std::to_string(Application::GetPID());
    WChar* first = Application::getTemporaryFile();
    ASSERT_NE(first, nullptr);
    WString firstName = first;
    EXPECT_EQ(firstName, join(folder, W((pid + "_0.tmp").c_str())));
    EXPECT_TRUE(fs::is_regular_file(toPath(firstName)));
    // The first number is taken now: the next name counts on.
    WChar* second = Application::getTemporaryFile();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(WString(second), join(folder, W((pid + "_1.tmp").c_str())));

    std::error_code ignored;
    fs::remove(toPath(firstName), ignored);
    fs::remove(toPath(second), ignored);
    if (!existed)
        removeOwnFolder(root, W("Temp"));
}

TEST(TemporaryNames, TableRefusesDuplicatesAndRemovesFiles)
{
    ScratchDir scratch;
    WString a = scratch.wpath("a.tmp");
    WString b = scratch.wpath("b.tmp");
    WString c = scratch.wpath("c.tmp");
    for (const WString* name : {&a, &b, &c})
        std::ofstream(toPath(*name)) << "x";

    Application app;
    EXPECT_TRUE(app.addTmpFileName(a.c_str()));
    EXPECT_FALSE(app.addTmpFileName(a.c_str()));
    EXPECT_FALSE(app.addTmpFileName(nullptr));
    EXPECT_TRUE(app.addTmpFileName(b.c_str()));
    EXPECT_TRUE(app.addTmpFileName(c.c_str()));
    EXPECT_EQ(app.tmpFileNameCount(), 3);

    // Taken out without removal: the file stays, and the name can come back.
    EXPECT_TRUE(app.delTmpFileName(a.c_str(), false));
    EXPECT_TRUE(fs::exists(toPath(a)));
    EXPECT_FALSE(app.delTmpFileName(a.c_str(), true));
    EXPECT_TRUE(app.addTmpFileName(a.c_str()));

    EXPECT_TRUE(app.delTmpFileName(b.c_str(), true));
    EXPECT_FALSE(fs::exists(toPath(b)));
    EXPECT_EQ(app.clearTmpFileNames(true), 2);
    EXPECT_FALSE(fs::exists(toPath(a)));
    EXPECT_FALSE(fs::exists(toPath(c)));
    EXPECT_EQ(app.clearTmpFileNames(true), 0);
}

TEST(TemporaryNames, ApplicationRemovesItsFilesWhenDestroyed)
{
    ScratchDir scratch;
    WString name = scratch.wpath("left.tmp");
    std::ofstream(toPath(name)) << "x";
    {
        Application app;
        app.addTmpFileName(name.c_str());
    }
    EXPECT_FALSE(fs::exists(toPath(name)));
}

TEST(ApplicationObject, LatestInstanceIsTheApplication)
{
    EXPECT_EQ(Application::getApp(), nullptr);
    // Three applications destroyed in each order: getApp() is always the most recently
    // constructed one still alive.
    const int orders[][3] = {{2, 1, 0}, {0, 1, 2}, {1, 0, 2}, {1, 2, 0}, {0, 2, 1}, {2, 0, 1}};
    for (const auto& order : orders) {
        std::unique_ptr<Application> apps[3];
        for (auto& a : apps) {
            a.reset(new Application);
            EXPECT_EQ(Application::getApp(), a.get());
        }
        for (int victim : order) {
            apps[victim].reset();
            Application* expected = nullptr;
            for (auto& a : apps)
                if (a)
                    expected = a.get();
            EXPECT_EQ(Application::getApp(), expected)
                << "order " << order[0] << order[1] << order[2] << ", after " << victim;
        }
    }
    {
        Application first;
        {
            Application second;
            EXPECT_EQ(Application::getApp(), &second);
        }
        EXPECT_EQ(Application::getApp(), &first);
    }
    EXPECT_EQ(Application::getApp(), nullptr);
    Application::incModalLevel();
    Application::incModalLevel();
    Application::decModalLevel();
    EXPECT_EQ(Application::modalLevel(), 1);
    Application::decModalLevel();
    EXPECT_EQ(Application::modalLevel(), 0);
}

TEST(ApplicationObject, ActiveFormsListFollowsFormLifetimes)
{
    Application app;
    auto formAt = [](std::uintptr_t n) { return reinterpret_cast<VexAPI::WForm*>(n * 16); };
    auto forms = [&app] {
        std::vector<VexAPI::WForm*> out;
        for (auto it = app.activeForms().begin(); it != app.activeForms().end(); ++it)
            out.push_back(static_cast<WFPointer&>(*it).form);
        return out;
    };
    auto a = std::make_unique<ActiveFormsPointer>(formAt(1));
    {
        ActiveFormsPointer b(formAt(2));
        ActiveFormsPointer c(formAt(3));
        EXPECT_EQ(forms(), (std::vector<VexAPI::WForm*>{formAt(1), formAt(2), formAt(3)}));
    }
    EXPECT_EQ(forms(), std::vector<VexAPI::WForm*>{formAt(1)});
    a.reset();
    EXPECT_TRUE(app.activeForms().empty());
}

} // namespace
