// Cost of a signal: send() with 0, 1, 2 and 8 subscribers, next to a direct virtual call
// (the floor for a signal nobody listens to) and libsigc++ emission with as many slots.
#include <vexapi/core/object.h>

#include <benchmark/benchmark.h>
#include <sigc++/sigc++.h>

#include <memory>
#include <string>
#include <vector>

namespace {

class Sender : public virtual Object {
public:
    // Out of line, so that the direct call is a real virtual call and not inlined away.
    __attribute__((noinline)) virtual bool onValue(int v)
    {
        benchmark::DoNotOptimize(v);
        return true;
    }
};

class Recipient : public virtual Object {
public:
    SlotResult onValue(Object*, int v)
    {
        benchmark::DoNotOptimize(v);
        return SlotContinue;
    }
};

// A sender whose signal never had a subscriber, but which does have other signals with
// subscribers, is the common case in an application: measure both.
void BM_VirtualCall(benchmark::State& state)
{
    std::unique_ptr<Sender> s(new Sender);
    Sender* volatile p = s.get();
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(p->onValue(++i));
}
BENCHMARK(BM_VirtualCall);

void BM_Send(benchmark::State& state)
{
    Sender s;
    std::vector<std::unique_ptr<Recipient>> recipients;
    for (int k = 0; k < state.range(0); ++k) {
        recipients.push_back(std::make_unique<Recipient>());
        subscribe(&s, &Sender::onValue, recipients.back().get(), &Recipient::onValue);
    }
    Sender* volatile p = &s;
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(send(p, &Sender::onValue, ++i));
    state.SetLabel("ratio-to:BM_VirtualCall,BM_SigcEmit/" + std::to_string(state.range(0)));
}
BENCHMARK(BM_Send)->Arg(0)->Arg(1)->Arg(2)->Arg(8);

struct SigcRecipient {
    bool onValue(int v)
    {
        benchmark::DoNotOptimize(v);
        return true;
    }
};

void BM_SigcEmit(benchmark::State& state)
{
    sigc::signal<bool(int)> signal;
    std::vector<SigcRecipient> recipients(std::size_t(state.range(0)));
    for (auto& r : recipients)
        signal.connect(sigc::mem_fun(r, &SigcRecipient::onValue));
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(signal.emit(++i));
}
BENCHMARK(BM_SigcEmit)->Arg(0)->Arg(1)->Arg(2)->Arg(8);

} // namespace

BENCHMARK_MAIN();
