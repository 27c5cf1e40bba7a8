// Benchmark of the source editor's editing engine against QScintilla, the same operations
// through each one's API in the same process: loading a 100,000-row SQL script, typing
// 1,000 characters one by one at row 50,000, replacing every occurrence of a frequent word,
// and undoing all of it. The table at the end gives CPU time per operation, heap bytes per
// character of the loaded script, and the ratio of the two. QScintilla runs on Qt's
// offscreen platform and is built in only when its development package is found.
#include "srcedit_script.h"

#include <vexapi/srcedit/csrcediteng.h>
#include <vexapi/core/wstring.h>

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>

#ifdef VEXAPI_BENCH_QSCINTILLA
#include <QApplication>
#include <QString>
#include <Qsci/qsciscintillabase.h>
#endif

namespace {

const int kRows = srcedit_bench::kScriptRows;
const int kTyped = 1000;
const int kTypeRow = 50000;
const int kTypeCol = 5;
// "customers" stands in a fifth of the rows: some 20,000 replacements, 40,000 undo records,
// within the history's bound of 65,536.
const char* const kFind = "customers";
const char* const kReplace = "clients";

// ---- The script, shared with the other editor benchmarks.

using srcedit_bench::makeScript;

const WString& script()
{
    static const WString text = makeScript();
    return text;
}

WString wide(const char* s)
{
    return WString(s, s + std::char_traits<char>::length(s));
}

std::size_t heapInUse()
{
    return mallinfo2().uordblks;
}

void setOps(benchmark::State& state, double ops)
{
    state.counters["ops"] = ops;
}

// ---- The engine.

CSrcEditEng& engine()
{
    static CSrcEditEng* e = [] {
        CSrcEditEng* made = new CSrcEditEng();
        made->setText(script().c_str());
        made->setFindText(wide(kFind).c_str());
        made->setReplaceText(wide(kReplace).c_str());
        made->searchState().matchCase = true;
        return made;
    }();
    return *e;
}

void typeInto(CSrcEditEng& e)
{
    e.SetCaretPos(kTypeCol, kTypeRow);
    WChar c[2] = {WChar('x'), 0};
    for (int i = 0; i < kTyped; ++i)
        e.onChar(c);
}

void undoAll(CSrcEditEng& e)
{
    while (e.undo()) {
    }
}

void Engine_Load(benchmark::State& state)
{
    state.SetLabel("ratio-to:QScintilla_Load");
    const WString& text = script();
    for (auto _ : state) {
        CSrcEditEng e;
        e.setText(text.c_str());
        benchmark::DoNotOptimize(e.GetRowCount());
        state.PauseTiming();
        e.setText(nullptr);
        state.ResumeTiming();
    }
    setOps(state, kRows);
}

void Engine_Memory(benchmark::State& state)
{
    const WString& text = script();
    for (auto _ : state) {
        std::size_t before = heapInUse();
        auto e = std::make_unique<CSrcEditEng>();
        e->setText(text.c_str());
        std::size_t after = heapInUse();
        state.counters["bytes_per_char"] = double(after - before) / double(text.size());
    }
}

void Engine_Type(benchmark::State& state)
{
    state.SetLabel("ratio-to:QScintilla_Type");
    CSrcEditEng& e = engine();
    for (auto _ : state) {
        typeInto(e);
        state.PauseTiming();
        undoAll(e);
        state.ResumeTiming();
    }
    setOps(state, kTyped);
}

void Engine_ReplaceAll(benchmark::State& state)
{
    state.SetLabel("ratio-to:QScintilla_ReplaceAll");
    CSrcEditEng& e = engine();
    for (auto _ : state) {
        e.ReplaceAll();
        state.PauseTiming();
        undoAll(e);
        state.ResumeTiming();
    }
    setOps(state, 1);
}

void Engine_UndoAll(benchmark::State& state)
{
    state.SetLabel("ratio-to:QScintilla_UndoAll");
    CSrcEditEng& e = engine();
    int records = 0;
    for (auto _ : state) {
        state.PauseTiming();
        typeInto(e);
        e.ReplaceAll();
        records = e.undoArray().GetSize();
        state.ResumeTiming();
        undoAll(e);
    }
    state.counters["records"] = records;
    setOps(state, 1);
}

// ---- The peer.

#ifdef VEXAPI_BENCH_QSCINTILLA

QString qtext(const WString& s)
{
    return QString(reinterpret_cast<const QChar*>(s.data()), int(s.size()));
}

// The peer is driven through Scintilla's messages on QsciScintillaBase, the widget under
// QsciScintilla: the same editing core without the higher widget's handlers of each change.
// Its text is UTF-8 bytes.
typedef QsciScintillaBase Peer;

std::string utf8(const WString& s)
{
    return qtext(s).toStdString();
}

void peerLoad(Peer& q, const std::string& text)
{
    q.SendScintilla(Peer::SCI_SETCODEPAGE, Peer::SC_CP_UTF8);
    q.SendScintilla(Peer::SCI_SETTEXT, 0ul, text.c_str());
    q.SendScintilla(Peer::SCI_EMPTYUNDOBUFFER);
}

Peer& peer()
{
    static Peer* editor = [] {
        Peer* made = new Peer();
        // Shown, at a window's size: a hidden widget without a size makes Scintilla work over
        // the whole document on every change.
        made->resize(800, 600);
        made->show();
        QApplication::processEvents();
        peerLoad(*made, utf8(script()));
        return made;
    }();
    return *editor;
}

void peerType(Peer& q)
{
    long pos = q.SendScintilla(Peer::SCI_POSITIONFROMLINE, static_cast<unsigned long>(kTypeRow)) + kTypeCol;
    q.SendScintilla(Peer::SCI_GOTOPOS, static_cast<unsigned long>(pos));
    for (int i = 0; i < kTyped; ++i)
        q.SendScintilla(Peer::SCI_ADDTEXT, 1ul, "x");
}

void peerReplaceAll(Peer& q)
{
    const std::string find = kFind, replacement = kReplace;
    q.SendScintilla(Peer::SCI_BEGINUNDOACTION);
    q.SendScintilla(Peer::SCI_SETSEARCHFLAGS, Peer::SCFIND_MATCHCASE);
    long end = q.SendScintilla(Peer::SCI_GETLENGTH);
    q.SendScintilla(Peer::SCI_SETTARGETSTART, 0ul);
    q.SendScintilla(Peer::SCI_SETTARGETEND, static_cast<unsigned long>(end));
    while (q.SendScintilla(Peer::SCI_SEARCHINTARGET, static_cast<unsigned long>(find.size()), find.c_str()) >= 0) {
        q.SendScintilla(Peer::SCI_REPLACETARGET, static_cast<unsigned long>(replacement.size()), replacement.c_str());
        long next = q.SendScintilla(Peer::SCI_GETTARGETEND);
        end = q.SendScintilla(Peer::SCI_GETLENGTH);
        q.SendScintilla(Peer::SCI_SETTARGETSTART, static_cast<unsigned long>(next));
        q.SendScintilla(Peer::SCI_SETTARGETEND, static_cast<unsigned long>(end));
    }
    q.SendScintilla(Peer::SCI_ENDUNDOACTION);
}

void peerUndoAll(Peer& q)
{
    while (q.SendScintilla(Peer::SCI_CANUNDO))
        q.SendScintilla(Peer::SCI_UNDO);
}

void QScintilla_Load(benchmark::State& state)
{
    const std::string text = utf8(script());
    Peer q;
    for (auto _ : state) {
        peerLoad(q, text);
        benchmark::DoNotOptimize(q.SendScintilla(Peer::SCI_GETLINECOUNT));
        state.PauseTiming();
        q.SendScintilla(Peer::SCI_CLEARALL);
        q.SendScintilla(Peer::SCI_EMPTYUNDOBUFFER);
        state.ResumeTiming();
    }
    setOps(state, kRows);
}

void QScintilla_Memory(benchmark::State& state)
{
    const std::string text = utf8(script());
    for (auto _ : state) {
        std::size_t before = heapInUse();
        auto q = std::make_unique<Peer>();
        peerLoad(*q, text);
        std::size_t after = heapInUse();
        state.counters["bytes_per_char"] = double(after - before) / double(script().size());
    }
}

void QScintilla_Type(benchmark::State& state)
{
    Peer& q = peer();
    for (auto _ : state) {
        peerType(q);
        state.PauseTiming();
        peerUndoAll(q);
        state.ResumeTiming();
    }
    setOps(state, kTyped);
}

void QScintilla_ReplaceAll(benchmark::State& state)
{
    Peer& q = peer();
    for (auto _ : state) {
        peerReplaceAll(q);
        state.PauseTiming();
        peerUndoAll(q);
        state.ResumeTiming();
    }
    setOps(state, 1);
}

void QScintilla_UndoAll(benchmark::State& state)
{
    Peer& q = peer();
    for (auto _ : state) {
        state.PauseTiming();
        peerType(q);
        peerReplaceAll(q);
        state.ResumeTiming();
        peerUndoAll(q);
    }
    setOps(state, 1);
}

#endif

BENCHMARK(Engine_Load)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Engine_Memory)->Iterations(1);
BENCHMARK(Engine_Type)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(Engine_ReplaceAll)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Engine_UndoAll)->Unit(benchmark::kMillisecond)->Iterations(5);
#ifdef VEXAPI_BENCH_QSCINTILLA
BENCHMARK(QScintilla_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(QScintilla_Memory)->Iterations(1);
BENCHMARK(QScintilla_Type)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(QScintilla_ReplaceAll)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(QScintilla_UndoAll)->Unit(benchmark::kMillisecond)->Iterations(1);
#endif

// Prints, after Google Benchmark's own table, each operation's engine and peer figures and
// their ratio.
class PairReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.run_type == Run::RT_Aggregate && !median)
                continue;
            std::string name = run.run_name.function_name;
            std::size_t cut = name.find('_');
            std::string side = name.substr(0, cut);
            std::string op = name.substr(cut + 1);
            Result& r = results[op];
            auto ops = run.counters.find("ops");
            auto bytes = run.counters.find("bytes_per_char");
            double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            double value = bytes != run.counters.end() ? double(bytes->second)
                         : ops != run.counters.end() ? seconds * 1e9 / double(ops->second)
                                                     : 0;
            (side == "Engine" ? r.engine : r.peer) = value;
            r.isBytes = bytes != run.counters.end();
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%-12s %18s %18s %8s\n", "operation", "engine", "QScintilla", "ratio");
        for (const auto& entry : results) {
            const Result& r = entry.second;
            const char* unit = r.isBytes ? "B/c" : "ns ";
            std::printf("%-12s %14.1f %s %14.1f %s %8.2f\n", entry.first.c_str(), r.engine, unit, r.peer, unit,
                        r.peer > 0 ? r.engine / r.peer : 0.0);
        }
        std::printf("(ns: CPU nanoseconds per operation (per row loaded, per character typed, per whole\n"
                    " replace or undo); B/c: heap bytes in use per character of the script)\n");
    }

private:
    struct Result {
        double engine = 0;
        double peer = 0;
        bool isBytes = false;
    };
    std::map<std::string, Result> results;
};

} // namespace

int main(int argc, char** argv)
{
#ifdef VEXAPI_BENCH_QSCINTILLA
    // The peer needs an application object, on the offscreen platform unless told otherwise.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
#endif
    benchmark::Initialize(&argc, argv);
    std::printf("script: %d rows, %zu characters; typing %d characters at row %d; replacing \"%s\"\n", kRows,
                script().size(), kTyped, kTypeRow, kFind);
    PairReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
