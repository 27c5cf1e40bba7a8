// The main thread's loops: enter_loop/exit_loop with the main mutex, OneLevelGUIWaiter,
// procTaskEvents, posted calls and the quit request, with worker threads.
#include "testtext.h"

#include "platform_mainqueue.h"
#include <vexapi/app/onelevelguiwaiter.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include "platform_mainmutex.h"

using VexAPI::platform::MainQueue;
using VexAPI::platform::MainMutex;

namespace {

using namespace std::chrono_literals;

// An application whose posted calls run the function they carry, on the main thread.
class LoopApp : public Application {
public:
    typedef std::function<void()> Call;

    // Posts `call` (kept alive by the app until the test ends).
    void postCall(Call call)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_calls.push_back(std::make_unique<Call>(std::move(call)));
        post(m_calls.back().get());
    }

    bool onPost(void* pointer) override
    {
        (*static_cast<Call*>(pointer))();
        return true;
    }

private:
    std::mutex m_lock;
    std::vector<std::unique_ptr<Call>> m_calls;
};

// Ends a wait that a broken loop would never end, so that a fault fails the test instead
// of hanging the suite. It does nothing while the test finishes in time.
class Watchdog {
public:
    explicit Watchdog(std::function<void()> rescue)
        : m_rescue(std::move(rescue)), m_thread([this] {
              std::unique_lock<std::mutex> guard(m_lock);
              if (m_done.wait_for(guard, 30s, [this] { return m_finished; }))
                  return;
              fired = true;
              OneLevelGUIWaiter::Break();
              m_rescue();
              Application::setAsyncComplete(1);
              Application::exit_loop();
          })
    {
    }
    ~Watchdog()
    {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_finished = true;
        }
        m_done.notify_all();
        m_thread.join();
    }

    std::atomic<bool> fired{false};

private:
    std::function<void()> m_rescue;
    std::mutex m_lock;
    std::condition_variable m_done;
    bool m_finished = false;
    std::thread m_thread;
};

// The test's thread as the main thread, as the entry makes it.
class MainThreadTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(MainMutex::create());
        ASSERT_TRUE(MainQueue::attach());
        Application::setAsyncComplete(0);
    }
    void TearDown() override
    {
        joinWorkers();
        EXPECT_FALSE(watchdog.fired) << "a wait had to be ended by the watchdog";
        Application::setAsyncComplete(0);
        MainQueue::Message message;
        while (MainQueue::peek(message) != MainQueue::Nothing) {
        }
        MainQueue::detach();
        MainMutex::close();
    }

    // Runs `call` on a worker that the next loop or wait starts from a call it dispatches:
    // the worker runs while that loop runs, with no timing to guess.
    void startInsideLoop(std::function<void()> call)
    {
        app.postCall([this, call] { m_workers.emplace_back(call); });
    }
    void joinWorkers()
    {
        for (std::thread& worker : m_workers)
            worker.join();
        m_workers.clear();
    }

    // The next message of the queue, without waiting.
    MainQueue::Took next(MainQueue::Message& message) { return MainQueue::peek(message); }

    LoopApp app;
    // A posted quit ends a main loop whose own ending was lost.
    Watchdog watchdog{[this] { app.postCall([] { Application::quitApplication(-99); }); }};

private:
    std::vector<std::thread> m_workers;
};

TEST_F(MainThreadTest, WorkerExitLoopEndsEnterLoop)
{
    startInsideLoop([] { Application::exit_loop(); });
    Application::enter_loop();
    joinWorkers();
    MainQueue::Message message;
    EXPECT_FALSE(MainQueue::peek(message, 1039));
}

TEST_F(MainThreadTest, LeftoverExitRequestsAreDropped)
{
    Application::exit_loop();
    Application::exit_loop();
    Application::exit_loop();
    Application::enter_loop();
    // A request left over would end the next loop before the call below could run.
    bool ran = false;
    app.postCall([&ran] {
        ran = true;
        Application::exit_loop();
    });
    Application::enter_loop();
    EXPECT_TRUE(ran);
}

TEST_F(MainThreadTest, ExitRequestOvertakesQueuedCalls)
{
    std::vector<int> ran;
    for (int i = 1; i <= 3; ++i)
        app.postCall([&ran, i] { ran.push_back(i); });
    Application::exit_loop();
    Application::enter_loop();
    EXPECT_TRUE(ran.empty()) << "the exit request went behind queued calls";
    Application::procTaskEvents();
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
}

TEST_F(MainThreadTest, AsyncCompleteEndsTheLoopAfterTheNextDispatch)
{
    std::atomic<bool> ran{false};
    // The worker's setAsyncComplete waits for the main mutex, which the loop holds across
    // the dispatch that starts the worker and its check after it: the flag is seen at the
    // dispatch of the call posted after it.
    startInsideLoop([this, &ran] {
        Application::setAsyncComplete(1);
        app.postCall([&ran] { ran = true; });
    });
    Application::enter_loop();
    joinWorkers();
    EXPECT_TRUE(ran);
    EXPECT_EQ(Application::asyncComplete(), 1);
}

TEST_F(MainThreadTest, WorkerSignalWaitsUntilTheDispatchHasEnded)
{
    std::atomic<bool> calling{false};
    std::atomic<bool> dispatchEnded{false};
    std::atomic<bool> endedWhenSignalReturned{false};
    std::thread worker;
    app.postCall([&] {
        worker = std::thread([&] {
            calling = true;
            Application::exit_loop();
            endedWhenSignalReturned = dispatchEnded.load();
        });
        // The dispatch goes on until the worker is calling exit_loop, and a while after: an
        // exit_loop that did not wait for the main mutex would have returned meanwhile.
        while (!calling)
            std::this_thread::yield();
        for (int i = 0; i < 20000; ++i)
            std::this_thread::yield();
        dispatchEnded = true;
    });
    Application::enter_loop();
    worker.join();
    EXPECT_TRUE(endedWhenSignalReturned) << "exit_loop got through in the middle of a dispatch";
}

TEST_F(MainThreadTest, HandlerOnTheMainThreadMaySignalDuringItsDispatch)
{
    // The main mutex is held across the dispatch and taken again by the handler.
    app.postCall([] { Application::setAsyncComplete(1); });
    Application::enter_loop();
    EXPECT_EQ(Application::asyncComplete(), 1);
}

TEST_F(MainThreadTest, QuitInsideEnterLoopIsPassedOn)
{
    app.postCall([] { Application::quitApplication(7); });
    Application::enter_loop();
    EXPECT_EQ(Application::getExitCode(), 7);
    MainQueue::Message message;
    ASSERT_EQ(next(message), MainQueue::Quit);
    EXPECT_EQ(int(message.wParam), 7);
}

TEST_F(MainThreadTest, ProcTaskEventsRunsWhatIsQueuedAndKeepsTheQuit)
{
    int ran = 0;
    for (int i = 0; i < 3; ++i)
        app.postCall([&ran] { ++ran; });
    Application::quitApplication(4);
    Application::procTaskEvents();
    EXPECT_EQ(ran, 3);
    MainQueue::Message message;
    ASSERT_EQ(next(message), MainQueue::Quit);
    EXPECT_EQ(int(message.wParam), 4);
    EXPECT_EQ(next(message), MainQueue::Nothing);
    Application::procTaskEvents(); // an empty queue returns at once
}

TEST_F(MainThreadTest, CallsPostedByWorkersRunOnceEachOnTheMainThread)
{
    const int workers = 4;
    const int each = 50;
    int ran = 0;
    bool allOnMain = true;
    std::vector<std::thread> threads;
    for (int w = 0; w < workers; ++w)
        threads.emplace_back([&] {
            for (int i = 0; i < each; ++i)
                app.postCall([&] {
                    allOnMain = allOnMain && MainQueue::isMainThread();
                    if (++ran == workers * each)
                        Application::quitApplication(0);
                });
        });
    app.messagePump();
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(ran, workers * each);
    EXPECT_TRUE(allOnMain);
    EXPECT_EQ(Application::getExitCode(), 0);
}

// One wait and what ends it: an action before the wait, and one while it runs, on a worker
// or (for a pair of calls that must land together) in a call dispatched by the wait.
struct WaitCase {
    const char* name;
    std::function<void()> beforeWait;
    std::function<void()> during;
    bool duringOnWorker;
    OneLevelGUIWaiter::Result expected;
};

void PrintTo(const WaitCase& c, std::ostream* os)
{
    *os << c.name;
}

class WaiterTest : public MainThreadTest, public ::testing::WithParamInterface<WaitCase> {};

TEST_P(WaiterTest, EndsWithTheResult)
{
    const WaitCase& c = GetParam();
    ASSERT_TRUE(OneLevelGUIWaiter::Init());
    EXPECT_FALSE(OneLevelGUIWaiter::result());
    if (c.beforeWait)
        c.beforeWait();
    if (c.during && c.duringOnWorker)
        startInsideLoop(c.during);
    else if (c.during)
        app.postCall(c.during);
    OneLevelGUIWaiter::Result result = OneLevelGUIWaiter::Wait();
    joinWorkers();
    EXPECT_EQ(result, c.expected);
    EXPECT_FALSE(OneLevelGUIWaiter::exists());
    EXPECT_TRUE(OneLevelGUIWaiter::result());
    MainQueue::Message message;
    EXPECT_FALSE(MainQueue::peek(message, 1044)) << "a wake-up outlived the wait";
}

void leaveFromWorker()
{
    std::thread([] { OneLevelGUIWaiter::Leave(); }).join();
}

void leaveThenBreak()
{
    OneLevelGUIWaiter::Leave();
    OneLevelGUIWaiter::Break();
}

void breakThenLeave()
{
    OneLevelGUIWaiter::Break();
    OneLevelGUIWaiter::Leave();
}

INSTANTIATE_TEST_SUITE_P(
    Results, WaiterTest,
    ::testing::Values(
        WaitCase{"LeaveOnWorker", nullptr, &OneLevelGUIWaiter::Leave, true,
                 OneLevelGUIWaiter::Left},
        WaitCase{"BreakOnWorker", nullptr, &OneLevelGUIWaiter::Break, true,
                 OneLevelGUIWaiter::Broken},
        WaitCase{"LeaveThenBreak", nullptr, &leaveThenBreak, false, OneLevelGUIWaiter::Left},
        WaitCase{"BreakThenLeave", nullptr, &breakThenLeave, false, OneLevelGUIWaiter::Left},
        WaitCase{"WorkerLeaveBetweenInitAndWait", &leaveFromWorker, nullptr, false,
                 OneLevelGUIWaiter::Left},
        WaitCase{"BreakBetweenInitAndWait", &OneLevelGUIWaiter::Break, nullptr, false,
                 OneLevelGUIWaiter::Broken}),
    [](const ::testing::TestParamInfo<WaitCase>& info) { return std::string(info.param.name); });

TEST_F(MainThreadTest, SecondWaitInsideAWaitAnswersAtOnce)
{
    ASSERT_TRUE(OneLevelGUIWaiter::Init());
    int nested = 0;
    bool initDuringWait = true;
    bool resultDuringWait = true;
    std::thread worker;
    app.postCall([&] {
        nested = OneLevelGUIWaiter::Wait();
        initDuringWait = OneLevelGUIWaiter::Init();
        resultDuringWait = OneLevelGUIWaiter::result();
        worker = std::thread([] { OneLevelGUIWaiter::Leave(); });
    });
    EXPECT_EQ(OneLevelGUIWaiter::Wait(), OneLevelGUIWaiter::Left);
    worker.join();
    EXPECT_EQ(nested, OneLevelGUIWaiter::AlreadyWaiting);
    EXPECT_FALSE(initDuringWait);
    EXPECT_FALSE(resultDuringWait) << "the refused Wait or Init touched the running wait";
}

TEST_F(MainThreadTest, WakeUpsSentDuringAWaitAreDrainedWithIt)
{
    ASSERT_TRUE(OneLevelGUIWaiter::Init());
    app.postCall([] {
        OneLevelGUIWaiter::Break();
        OneLevelGUIWaiter::Leave();
        OneLevelGUIWaiter::Leave();
    });
    EXPECT_EQ(OneLevelGUIWaiter::Wait(), OneLevelGUIWaiter::Left);
    MainQueue::Message message;
    EXPECT_FALSE(MainQueue::peek(message, 1044));
    // The next wait starts clean.
    ASSERT_TRUE(OneLevelGUIWaiter::Init());
    startInsideLoop([] { OneLevelGUIWaiter::Break(); });
    EXPECT_EQ(OneLevelGUIWaiter::Wait(), OneLevelGUIWaiter::Broken);
    joinWorkers();
}

TEST_F(MainThreadTest, QuitDuringAWaitBreaksItAndIsPassedOn)
{
    ASSERT_TRUE(OneLevelGUIWaiter::Init());
    app.postCall([] { Application::quitApplication(9); });
    EXPECT_EQ(OneLevelGUIWaiter::Wait(), OneLevelGUIWaiter::Broken);
    EXPECT_FALSE(OneLevelGUIWaiter::exists());
    MainQueue::Message message;
    ASSERT_EQ(next(message), MainQueue::Quit);
    EXPECT_EQ(int(message.wParam), 9);
}

} // namespace
