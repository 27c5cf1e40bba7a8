// Benchmark of the source editor's colouring on the 100,000-row SQL script: a full parse,
// one character typed at row 50,000 (the re-lex of one row), and a "/*" typed there, which
// re-lexes to the end of the script. The editor is the SQL editor of the examples
// (keywords, comments, strings, numbers, block keywords gathered on the rows; the block
// analysis is left to its timer). The peer, in the same run when QScintilla is installed:
// QScintilla's SQL lexer styling the same text in an offscreen widget.
#include "srcedit_script.h"

#include <sqleditlex.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <string>

#ifdef VEXAPI_BENCH_QSCINTILLA
#include <QApplication>
#include <Qsci/qscilexersql.h>
#include <Qsci/qsciscintilla.h>
#endif

namespace {

const int kEditRow = 50000;

const WString& script()
{
    static const WString text = srcedit_bench::makeScript();
    return text;
}

std::string scriptBytes()
{
    const WString& w = script();
    return std::string(w.begin(), w.end());
}

SqlEditLex& editor()
{
    static std::unique_ptr<SqlEditLex> e;
    if (!e) {
        e.reset(new SqlEditLex());
        e->setDeferredLayout(true);
        e->setPlainText(script().c_str(), int(script().size()));
    }
    return *e;
}

// The column typed at: a little into the row, or its end for a short row.
int editCol(const CEditString* row) { return row->GetLength() < 10 ? row->GetLength() : 10; }

void BM_Lex_FullParse(benchmark::State& state)
{
    SqlEditLex& e = editor();
    for (auto _ : state)
        send(&e, &CSrcEditLex::doParse, -1, -1);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(script().size()));
    state.counters["tags"] = e.GetTags().GetCount();
    state.SetLabel("ratio-to:BM_QSci_FullParse");
}
BENCHMARK(BM_Lex_FullParse)->Unit(benchmark::kMillisecond);

// Typing `text` at (col, kEditRow) and taking it back: two edits, each followed by the
// re-parse the editing layer asks for. With `relexOnly` only the re-parses are timed.
void ourEdits(benchmark::State& state, const WChar* text, int n, int col, bool relexOnly)
{
    SqlEditLex& e = editor();
    CEditString* row = e.GetString(kEditRow);
    for (auto _ : state) {
        row->InsertPlainText(text, col, n);
        auto t0 = std::chrono::steady_clock::now();
        send(&e, &CSrcEditLex::doParse, kEditRow, kEditRow);
        auto t1 = std::chrono::steady_clock::now();
        row->DeleteEditString(col, col + n);
        auto t2 = std::chrono::steady_clock::now();
        send(&e, &CSrcEditLex::doParse, kEditRow, kEditRow);
        auto t3 = std::chrono::steady_clock::now();
        if (relexOnly)
            state.SetIterationTime(std::chrono::duration<double>((t1 - t0) + (t3 - t2)).count());
    }
}

const WChar kX[] = {'x', 0};
const WChar kOpen[] = {'/', '*', 0};

// One character: each edit re-lexes its row.
void BM_Lex_Keystroke(benchmark::State& state)
{
    ourEdits(state, kX, 1, editCol(editor().GetString(kEditRow)), false);
    state.SetLabel("ratio-to:BM_QSci_Keystroke");
}
BENCHMARK(BM_Lex_Keystroke)->Unit(benchmark::kMicrosecond);

void BM_Lex_KeystrokeRelex(benchmark::State& state)
{
    ourEdits(state, kX, 1, editCol(editor().GetString(kEditRow)), true);
    state.SetLabel("ratio-to:BM_QSci_KeystrokeRelex");
}
BENCHMARK(BM_Lex_KeystrokeRelex)->Unit(benchmark::kMicrosecond)->UseManualTime();

// "/*" at the row's start: each edit re-lexes to the script's end.
void BM_Lex_OpenComment(benchmark::State& state)
{
    ourEdits(state, kOpen, 2, 0, false);
    state.SetLabel("ratio-to:BM_QSci_OpenComment");
}
BENCHMARK(BM_Lex_OpenComment)->Unit(benchmark::kMillisecond);

void BM_Lex_OpenCommentRelex(benchmark::State& state)
{
    ourEdits(state, kOpen, 2, 0, true);
    state.SetLabel("ratio-to:BM_QSci_OpenCommentRelex");
}
BENCHMARK(BM_Lex_OpenCommentRelex)->Unit(benchmark::kMillisecond)->UseManualTime();

#ifdef VEXAPI_BENCH_QSCINTILLA

QsciScintilla& peer()
{
    static int argc = 1;
    static char name[] = "bench_srcedit_lex";
    static char* argv[] = {name, nullptr};
    // Both live to the end of the process: Qt's objects must not be destroyed among the
    // other statics at exit.
    static QApplication* app = nullptr;
    static QsciScintilla* sci = nullptr;
    if (!sci) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app = new QApplication(argc, argv);
        (void)app;
        sci = new QsciScintilla();
        sci->setLexer(new QsciLexerSQL(sci));
        std::string text = scriptBytes();
        sci->SendScintilla(QsciScintillaBase::SCI_SETTEXT, text.c_str());
    }
    return *sci;
}

void colourise(QsciScintilla& sci, long from, long to)
{
    sci.SendScintilla(QsciScintillaBase::SCI_COLOURISE, static_cast<unsigned long>(from), to);
}

void BM_QSci_FullParse(benchmark::State& state)
{
    QsciScintilla& sci = peer();
    for (auto _ : state)
        colourise(sci, 0, -1);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(script().size()));
}
BENCHMARK(BM_QSci_FullParse)->Unit(benchmark::kMillisecond);

// The same two edits through Scintilla's messages, each followed by styling: of the
// edited line for a character, from the line to the end for "/*" (its state changed).
// QScintilla's own handling of an edit costs tens of milliseconds on this document, so
// these run a fixed number of iterations; the Relex variants time the styling alone.
void peerEdits(benchmark::State& state, const char* text, long n, int col, bool toEnd, bool relexOnly)
{
    QsciScintilla& sci = peer();
    const long lineStart = sci.SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, kEditRow);
    const long lineEnd = sci.SendScintilla(QsciScintillaBase::SCI_GETLINEENDPOSITION, kEditRow);
    const long pos = lineStart + col;
    for (auto _ : state) {
        sci.SendScintilla(QsciScintillaBase::SCI_INSERTTEXT, static_cast<uintptr_t>(pos), text);
        auto t0 = std::chrono::steady_clock::now();
        colourise(sci, lineStart, toEnd ? -1 : lineEnd + n);
        auto t1 = std::chrono::steady_clock::now();
        sci.SendScintilla(QsciScintillaBase::SCI_DELETERANGE, static_cast<unsigned long>(pos), n);
        auto t2 = std::chrono::steady_clock::now();
        colourise(sci, lineStart, toEnd ? -1 : lineEnd);
        auto t3 = std::chrono::steady_clock::now();
        if (relexOnly)
            state.SetIterationTime(std::chrono::duration<double>((t1 - t0) + (t3 - t2)).count());
    }
}

void BM_QSci_Keystroke(benchmark::State& state)
{
    peerEdits(state, "x", 1, editCol(editor().GetString(kEditRow)), false, false);
}
BENCHMARK(BM_QSci_Keystroke)->Unit(benchmark::kMicrosecond)->Iterations(50);

void BM_QSci_KeystrokeRelex(benchmark::State& state)
{
    peerEdits(state, "x", 1, editCol(editor().GetString(kEditRow)), false, true);
}
BENCHMARK(BM_QSci_KeystrokeRelex)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(100);

void BM_QSci_OpenComment(benchmark::State& state) { peerEdits(state, "/*", 2, 0, true, false); }
BENCHMARK(BM_QSci_OpenComment)->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_QSci_OpenCommentRelex(benchmark::State& state) { peerEdits(state, "/*", 2, 0, true, true); }
BENCHMARK(BM_QSci_OpenCommentRelex)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(10);

#endif

} // namespace

BENCHMARK_MAIN();
