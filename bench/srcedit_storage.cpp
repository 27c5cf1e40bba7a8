// Benchmark of the source editor's text storage against a plain std::vector of 16-bit
// strings: loading a 100,000-row SQL script, typing 1,000 characters one by one, folding
// 1,000 ranges and converting 100,000 positions across the folds. Both run in the same
// process; the table at the end gives nanoseconds per operation, heap bytes per character
// and the ratio of the two.
#include <vexapi/srcedit/ceditstring.h>
#include <vexapi/srcedit/ceditstringarray.h>
#include <vexapi/srcedit/ctextsegment.h>
#include <vexapi/core/wstring.h>

#include "srcedit_script.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {


const int kRows = srcedit_bench::kScriptRows;
const int kTyped = 1000;
const int kFolds = 1000;
const int kFoldStride = kRows / kFolds; // one fold in every 100 rows
const int kFoldOffset = 10;             // starting 10 rows into its stride
const int kFoldRows = 51;               // and hiding 51 rows behind one label row
const int kConversions = 100000;

// ---- The script.

using srcedit_bench::makeScript;

const WString& script()
{
    static const WString text = makeScript();
    return text;
}

std::vector<WString> splitScript()
{
    const WString& text = script();
    std::vector<WString> lines;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\n')
            continue;
        std::size_t end = i > start && text[i - 1] == '\r' ? i - 1 : i;
        lines.emplace_back(text, start, end - start);
        start = i + 1;
    }
    lines.emplace_back(text, start, text.size() - start);
    return lines;
}

std::size_t heapInUse()
{
    return mallinfo2().uordblks;
}

// ---- The floor: a vector of lines, folds kept as moved-out runs of lines beside it.

struct FoldedVector {
    std::vector<WString> visible;
    std::vector<std::vector<WString>> hidden; // the lines of each fold
    std::vector<int> foldRow;               // visible row of each fold's label
    std::vector<int> foldLine;              // unfolded line of each fold's first line
    std::vector<int> hiddenText;            // characters of each fold's text
    int hiddenBefore = 0;

    // Folds the rows [row, row + n) into one label row (folds come in ascending order).
    void fold(int row, int n)
    {
        std::vector<WString> lines(std::make_move_iterator(visible.begin() + row),
                                 std::make_move_iterator(visible.begin() + row + n));
        int length = 0;
        for (const WString& l : lines)
            length += int(l.size()) + 2;
        hiddenText.push_back(length - 2);
        visible.erase(visible.begin() + row + 1, visible.begin() + row + n);
        visible[std::size_t(row)] = CTextSegment::BlockTexts[1];
        foldRow.push_back(row);
        foldLine.push_back(row + hiddenBefore);
        hiddenBefore += n - 1;
        hidden.push_back(std::move(lines));
    }

    // The visible row holding unfolded line `line`, and the line's text.
    int rowOfLine(int line, const WString*& text) const
    {
        auto it = std::upper_bound(foldLine.begin(), foldLine.end(), line);
        if (it == foldLine.begin()) {
            text = &visible[std::size_t(line)];
            return line;
        }
        std::size_t k = std::size_t(it - foldLine.begin()) - 1;
        int inFold = line - foldLine[k];
        if (inFold < int(hidden[k].size())) {
            text = &hidden[k][std::size_t(inFold)];
            return foldRow[k];
        }
        int row = line - (foldLine[k] - foldRow[k]) - int(hidden[k].size()) + 1;
        text = &visible[std::size_t(row)];
        return row;
    }
};

// Folds the document the way the editor does: cut the range, wrap it in a label row,
// insert the label row.
void foldDocument(CEditStringArray* doc, int row, int n)
{
    CEditStringArray* cut = new CEditStringArray();
    int endCol = doc->GetString(row + n - 1)->GetLength();
    doc->getSmartText(cut, false, 0, row, endCol, row + n - 1);
    CEditStringArray carrier;
    carrier.AddString(CEditString::fromBlock(cut, 1));
    int ec, er;
    doc->insSmartText(&carrier, false, 0, row, ec, er);
}

int foldRowOf(int k)
{
    return k * (kFoldStride - kFoldRows + 1) + kFoldOffset;
}

const CEditStringArray& loadedDocument()
{
    static std::unique_ptr<CEditStringArray> doc(CEditStringArray::fromPlainText(script().c_str(), int(script().size())));
    return *doc;
}

CEditStringArray& foldedDocument()
{
    static std::unique_ptr<CEditStringArray> doc;
    if (!doc) {
        doc.reset(CEditStringArray::copyContents(&loadedDocument()));
        for (int k = 0; k < kFolds; ++k)
            foldDocument(doc.get(), foldRowOf(k), kFoldRows);
    }
    return *doc;
}

const FoldedVector& foldedVector()
{
    static FoldedVector v;
    if (v.visible.empty()) {
        v.visible = splitScript();
        for (int k = 0; k < kFolds; ++k)
            v.fold(foldRowOf(k), kFoldRows);
    }
    return v;
}

std::vector<int> randomLines()
{
    std::mt19937 random(7u);
    std::uniform_int_distribution<int> line(0, kRows - 1);
    std::vector<int> lines(kConversions);
    for (int& l : lines)
        l = line(random);
    return lines;
}

std::vector<int> randomFolds()
{
    std::mt19937 random(9u);
    std::uniform_int_distribution<int> fold(0, kFolds - 1);
    std::vector<int> folds(kConversions);
    for (int& f : folds)
        f = fold(random);
    return folds;
}

void setOps(benchmark::State& state, double ops)
{
    state.counters["ops"] = ops;
}

// ---- Loading.

void Document_Load(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_Load");
    const WString& text = script();
    for (auto _ : state) {
        std::unique_ptr<CEditStringArray> doc(CEditStringArray::fromPlainText(text.c_str(), int(text.size())));
        benchmark::DoNotOptimize(doc.get());
        state.PauseTiming();
        doc.reset();
        state.ResumeTiming();
    }
    setOps(state, kRows);
}

void Vector_Load(benchmark::State& state)
{
    script();
    for (auto _ : state) {
        std::vector<WString> lines = splitScript();
        benchmark::DoNotOptimize(lines.data());
        state.PauseTiming();
        lines.clear();
        lines.shrink_to_fit();
        state.ResumeTiming();
    }
    setOps(state, kRows);
}

// Heap bytes in use for the loaded text, per character of the script (mallinfo2: the
// allocator's own count of bytes handed out, its per-block overhead included).
void Document_Memory(benchmark::State& state)
{
    const WString& text = script();
    for (auto _ : state) {
        std::size_t before = heapInUse();
        std::unique_ptr<CEditStringArray> doc(CEditStringArray::fromPlainText(text.c_str(), int(text.size())));
        std::size_t after = heapInUse();
        state.counters["bytes_per_char"] = double(after - before) / double(text.size());
    }
}

void Vector_Memory(benchmark::State& state)
{
    const WString& text = script();
    for (auto _ : state) {
        std::size_t before = heapInUse();
        std::vector<WString> lines = splitScript();
        std::size_t after = heapInUse();
        state.counters["bytes_per_char"] = double(after - before) / double(text.size());
    }
}

// ---- Typing 1,000 characters one by one.

void Document_Type(benchmark::State& state, int row)
{
    CEditStringArray& doc = const_cast<CEditStringArray&>(loadedDocument());
    CEditString* target = doc.GetString(row);
    int col = target->GetLength() / 2;
    const WChar c = 'x';
    for (auto _ : state) {
        for (int i = 0; i < kTyped; ++i)
            target->InsertPlainText(&c, col, 1);
        state.PauseTiming();
        target->DeleteEditString(col, col + kTyped);
        state.ResumeTiming();
    }
    setOps(state, kTyped);
}

void Vector_Type(benchmark::State& state, int row)
{
    static std::vector<WString> lines = splitScript();
    WString& target = lines[std::size_t(row)];
    std::size_t col = target.size() / 2;
    for (auto _ : state) {
        for (int i = 0; i < kTyped; ++i)
            target.insert(col, 1, WChar('x'));
        state.PauseTiming();
        target.erase(col, kTyped);
        state.ResumeTiming();
    }
    setOps(state, kTyped);
}

void Document_TypeFirstRow(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_TypeFirstRow");
    Document_Type(state, 0);
}
void Vector_TypeFirstRow(benchmark::State& state) { Vector_Type(state, 0); }
void Document_TypeMiddleRow(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_TypeMiddleRow");
    Document_Type(state, kRows / 2);
}
void Vector_TypeMiddleRow(benchmark::State& state) { Vector_Type(state, kRows / 2); }

// ---- Folding 1,000 ranges of 51 rows.

void Document_Fold(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_Fold");
    const CEditStringArray& base = loadedDocument();
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<CEditStringArray> doc(CEditStringArray::copyContents(&base));
        state.ResumeTiming();
        for (int k = 0; k < kFolds; ++k)
            foldDocument(doc.get(), foldRowOf(k), kFoldRows);
        state.PauseTiming();
        doc.reset();
        state.ResumeTiming();
    }
    setOps(state, kFolds);
}

void Vector_Fold(benchmark::State& state)
{
    std::vector<WString> base = splitScript();
    for (auto _ : state) {
        state.PauseTiming();
        FoldedVector v;
        v.visible = base;
        state.ResumeTiming();
        for (int k = 0; k < kFolds; ++k)
            v.fold(foldRowOf(k), kFoldRows);
        benchmark::DoNotOptimize(v.visible.data());
    }
    setOps(state, kFolds);
}

// ---- Converting 100,000 positions across the folds.

// An unfolded line number to the visible row that shows it and the row holding its text.
void Document_LineToRow(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_LineToRow");
    CEditStringArray& doc = foldedDocument();
    std::vector<int> lines = randomLines();
    for (auto _ : state) {
        long sum = 0;
        for (int line : lines) {
            CEditString* row = doc.GenRowId2String(line);
            sum += row->visibleOwnerString()->visRowId() + row->GetLength();
        }
        benchmark::DoNotOptimize(sum);
    }
    setOps(state, kConversions);
}

void Vector_LineToRow(benchmark::State& state)
{
    const FoldedVector& v = foldedVector();
    std::vector<int> lines = randomLines();
    for (auto _ : state) {
        long sum = 0;
        for (int line : lines) {
            const WString* text = nullptr;
            sum += v.rowOfLine(line, text) + long(text->size());
        }
        benchmark::DoNotOptimize(sum);
    }
    setOps(state, kConversions);
}

// A visible column behind a fold's label to its column in the unfolded row, and back.
void Document_ColumnAcrossFold(benchmark::State& state)
{
    state.SetLabel("ratio-to:Vector_ColumnAcrossFold");
    CEditStringArray& doc = foldedDocument();
    std::vector<int> folds = randomFolds();
    std::vector<CEditString*> rows;
    for (int k = 0; k < kFolds; ++k)
        rows.push_back(doc.GetString(foldRowOf(k)));
    for (auto _ : state) {
        long sum = 0;
        for (int k : folds) {
            CEditString* row = rows[std::size_t(k)];
            int abs = row->Vis2AbsPos(row->GetLength());
            sum += abs + row->Abs2VisPos(abs);
        }
        benchmark::DoNotOptimize(sum);
    }
    setOps(state, kConversions);
}

void Vector_ColumnAcrossFold(benchmark::State& state)
{
    const FoldedVector& v = foldedVector();
    std::vector<int> folds = randomFolds();
    int label = int(v.visible[std::size_t(v.foldRow[0])].size());
    for (auto _ : state) {
        long sum = 0;
        for (int k : folds) {
            int shift = v.hiddenText[std::size_t(k)] - label;
            int abs = label + shift;
            sum += abs + (abs - shift);
        }
        benchmark::DoNotOptimize(sum);
    }
    setOps(state, kConversions);
}

BENCHMARK(Document_Load)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Vector_Load)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Document_Memory)->Iterations(1);
BENCHMARK(Vector_Memory)->Iterations(1);
BENCHMARK(Document_TypeFirstRow)->Unit(benchmark::kMicrosecond);
BENCHMARK(Vector_TypeFirstRow)->Unit(benchmark::kMicrosecond);
BENCHMARK(Document_TypeMiddleRow)->Unit(benchmark::kMicrosecond);
BENCHMARK(Vector_TypeMiddleRow)->Unit(benchmark::kMicrosecond);
BENCHMARK(Document_Fold)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Vector_Fold)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Document_LineToRow)->Unit(benchmark::kMillisecond);
BENCHMARK(Vector_LineToRow)->Unit(benchmark::kMillisecond);
BENCHMARK(Document_ColumnAcrossFold)->Unit(benchmark::kMillisecond);
BENCHMARK(Vector_ColumnAcrossFold)->Unit(benchmark::kMillisecond);

// Prints the usual console report, and then the table of the pairs.
class PairReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            // With repetitions the table takes the median; otherwise the one run.
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
            // CPU time: the machine is shared, and wall time would count the other work on it.
            double seconds = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            double value = bytes != run.counters.end() ? double(bytes->second)
                         : ops != run.counters.end() ? seconds * 1e9 / double(ops->second)
                                                     : 0;
            (side == "Document" ? r.document : r.vector) = value;
            r.isBytes = bytes != run.counters.end();
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n%-18s %16s %16s %8s\n", "operation", "document", "vector", "ratio");
        for (const auto& entry : results) {
            const Result& r = entry.second;
            std::printf("%-18s %13.1f %s %13.1f %s %8.2f\n", entry.first.c_str(), r.document,
                        r.isBytes ? "B/c" : "ns ", r.vector, r.isBytes ? "B/c" : "ns ",
                        r.vector > 0 ? r.document / r.vector : 0.0);
        }
        std::printf("(ns: CPU nanoseconds per operation; B/c: heap bytes in use per character of the script)\n");
    }

private:
    struct Result {
        double document = 0;
        double vector = 0;
        bool isBytes = false;
    };
    std::map<std::string, Result> results;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    std::printf("script: %d rows, %zu characters; sizeof(CEditString) %zu\n", kRows, script().size(),
                sizeof(CEditString));
    PairReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
