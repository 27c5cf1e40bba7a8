// RTLibraryLoader: functions of the platform's own libraries found and called, and the
// null answers for what isn't there.
#include <vexapi/orvcpp/rtlibraryloader.h>
#include <vexapi/core/wstring.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace {


WString W(const char* s)
{
    WString out;
    for (; *s; ++s)
        out += WChar(static_cast<unsigned char>(*s));
    return out;
}

// A library and one of its functions on each platform; the test runs what the platform has.
struct SystemLibrary {
    const char* library;
    const char* function;
};
const SystemLibrary systemLibraries[] = {{"libm.so.6", "cos"}, {"kernel32.dll", "lstrlenW"}};

TEST(RTLibraryLoader, FindsAndCallsAFunctionOfASystemLibrary)
{
    typedef double (*Cos)(double);
    typedef int (*StrLenW)(const WChar*);
    Cos cosine = RTLibraryLoader::load<Cos>(W("libm.so.6").c_str(), "cos");
    StrLenW strLen = RTLibraryLoader::load<StrLenW>(W("kernel32.dll").c_str(), "lstrlenW");
    // Exactly one of the two platforms is this one.
    ASSERT_TRUE((cosine != nullptr) != (strLen != nullptr));
    if (cosine) {
        EXPECT_DOUBLE_EQ(cosine(0.5), std::cos(0.5));
        EXPECT_DOUBLE_EQ(cosine(0.0), 1.0);
    }
    if (strLen) {
        EXPECT_EQ(strLen(W("seven!!").c_str()), 7);
        EXPECT_NE(RTLibraryLoader::loadFunction(W("kernel32.dll").c_str(), "GetTickCount"),
                  nullptr);
    }
}

TEST(RTLibraryLoader, RepeatedAndConcurrentLookupsGiveTheSamePointer)
{
    for (const SystemLibrary& lib : systemLibraries) {
        const WString name = W(lib.library);
        RTLibraryLoader::Function first = RTLibraryLoader::loadFunction(name.c_str(), lib.function);
        if (!first)
            continue;
        EXPECT_EQ(RTLibraryLoader::loadFunction(name.c_str(), lib.function), first);
        std::vector<RTLibraryLoader::Function> seen(8, nullptr);
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < seen.size(); ++t)
            threads.emplace_back([&, t] {
                for (int k = 0; k < 50; ++k)
                    seen[t] = RTLibraryLoader::loadFunction(name.c_str(), lib.function);
            });
        for (std::thread& th : threads)
            th.join();
        for (RTLibraryLoader::Function f : seen)
            EXPECT_EQ(f, first);
    }
}

TEST(RTLibraryLoader, MissingLibraryOrFunctionGivesNull)
{
    bool anyLibrary = false;
    for (const SystemLibrary& lib : systemLibraries) {
        const WString name = W(lib.library);
        if (!RTLibraryLoader::loadFunction(name.c_str(), lib.function))
            continue;
        anyLibrary = true;
        EXPECT_EQ(RTLibraryLoader::loadFunction(name.c_str(), "no_such_function_4711"), nullptr);
        // The failed lookup leaves the library usable.
        EXPECT_NE(RTLibraryLoader::loadFunction(name.c_str(), lib.function), nullptr);
    }
    EXPECT_TRUE(anyLibrary);

    const WString missing = W("no-such-library-4711.so");
    EXPECT_EQ(RTLibraryLoader::loadFunction(missing.c_str(), "cos"), nullptr);
    EXPECT_EQ(RTLibraryLoader::loadFunction(missing.c_str(), "cos"), nullptr); // not remembered
    const WChar nonAscii[] = {0x0431, 0x0438, 0x0431, '.', 'd', 'l', 'l', 0xD83D, 0};
    EXPECT_EQ(RTLibraryLoader::loadFunction(nonAscii, "f"), nullptr);
}

TEST(RTLibraryLoader, NullOrEmptyArgumentsGiveNull)
{
    const WString lib = W("libm.so.6");
    const WChar empty[] = {0};
    EXPECT_EQ(RTLibraryLoader::loadFunction(nullptr, "cos"), nullptr);
    EXPECT_EQ(RTLibraryLoader::loadFunction(empty, "cos"), nullptr);
    EXPECT_EQ(RTLibraryLoader::loadFunction(lib.c_str(), nullptr), nullptr);
    EXPECT_EQ(RTLibraryLoader::loadFunction(lib.c_str(), ""), nullptr);
}

} // namespace
