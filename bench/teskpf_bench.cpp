// Google Benchmark suites for TeskPf at 1k, 10k, 100k and 1M lines. The
// parameter files are generated once into a temporary directory at start-up;
// the query suites share one loaded handle per size.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include <teskpf/diagnostics.h>
#include <teskpf/document.h>
#include <teskpf/explain.h>

#include "TeskPf.h"
#include "generate_pf.h"

namespace {

namespace fs = std::filesystem;

const size_t kLineCounts[] = {1000, 10000, 100000, 1000000};
// Lookups cycle through this many entries: few enough that they stay in cache
// at every size, so the lookup suites measure the work of a lookup rather than
// memory latency, which grows with the size of the loaded list.
constexpr size_t kSampleSize = 256;
constexpr double kMinSeconds = 0.2;  // keeps the 1M cases to one or two iterations

// The generated files, and a handle for each, loaded on first use.
class Corpus {
public:
    Corpus() {
        std::string pattern = (fs::temp_directory_path() / "teskpf-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot create a directory like " + pattern);
        dir = pattern;
        for (size_t lines : kLineCounts)
            teskpf_bench::writeTextFile(path(lines), teskpf_bench::toPfText(teskpf_bench::generateDocument(lines)));
    }
    ~Corpus() { fs::remove_all(dir); }
    Corpus(const Corpus &) = delete;
    Corpus &operator=(const Corpus &) = delete;

    std::string path(size_t lines) const { return (dir / (std::to_string(lines) + ".pf")).string(); }
    std::string outputPath() const { return (dir / "out.pf").string(); }

    const TeskPf &handle(size_t lines) {
        std::unique_ptr<TeskPf> &loaded = handles[lines];
        if (!loaded) loaded = std::make_unique<TeskPf>(path(lines), 0);
        return *loaded;
    }

private:
    fs::path dir;
    std::map<size_t, std::unique_ptr<TeskPf>> handles;
};

Corpus *corpus = nullptr;  // set by main while the benchmarks run

size_t linesOf(const benchmark::State &state) { return static_cast<size_t>(state.range(0)); }

// kSampleSize indices drawn with a fixed seed from the entries `wanted` accepts.
template <typename Accept>
std::vector<int> sampleIndices(const TeskPf &pf, Accept wanted) {
    std::vector<int> candidates;
    for (int index = 0; index < pf.size(); ++index)
        if (wanted(index)) candidates.push_back(index);
    std::vector<int> sample;
    if (candidates.empty()) return sample;
    std::mt19937_64 rng(7);
    for (size_t i = 0; i < kSampleSize; ++i) sample.push_back(candidates[rng() % candidates.size()]);
    return sample;
}

std::vector<std::string> keysOf(const TeskPf &pf, const std::vector<int> &indices) {
    std::vector<std::string> keys;
    for (int index : indices) keys.push_back(pf.getKey(index));
    return keys;
}

// Records the work of the constant-time suites: one item per call.
void finishLookups(benchmark::State &state) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
    state.SetComplexityN(static_cast<int64_t>(linesOf(state)));
}

void BM_Load(benchmark::State &state) {
    const size_t lines = linesOf(state);
    const std::string path = corpus->path(lines);
    teskpf_bench::readTextFile(path);
    for (auto _ : state) {
        auto pf = std::make_unique<TeskPf>(path, 0);
        state.PauseTiming();  // destruction is not part of loading
        pf.reset();
        state.ResumeTiming();
    }
    const auto iterations = static_cast<int64_t>(state.iterations());
    state.SetBytesProcessed(iterations * static_cast<int64_t>(fs::file_size(path)));
    state.SetItemsProcessed(iterations * static_cast<int64_t>(lines));
    state.SetComplexityN(static_cast<int64_t>(lines));
}

void BM_LookupKey(benchmark::State &state) {
    const TeskPf &pf = corpus->handle(linesOf(state));
    const std::vector<int> indices = sampleIndices(pf, [&](int index) { return !pf.getKey(index).empty(); });
    const std::vector<std::string> keys = keysOf(pf, indices);
    for (size_t i = 0; i < keys.size(); ++i)
        if (pf.getEntryIndex(keys[i]) != indices[i]) state.SkipWithError(("lookup misses " + keys[i]).c_str());
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pf.getEntryIndex(keys[next]));
        next = (next + 1) % keys.size();
    }
    finishLookups(state);
}

void BM_LookupIndex(benchmark::State &state) {
    const TeskPf &pf = corpus->handle(linesOf(state));
    const std::vector<int> indices = sampleIndices(pf, [](int) { return true; });
    size_t next = 0;
    for (auto _ : state) {
        Table<std::string> entry = pf.getEntry(indices[next]);
        benchmark::DoNotOptimize(entry.data());
        next = (next + 1) % indices.size();
    }
    finishLookups(state);
}

// getValue by key, with its verdict and types, on values (not block
// openings) that carry checks, their own or their list's.
void BM_GetValue(benchmark::State &state) {
    const TeskPf &pf = corpus->handle(linesOf(state));
    Table<int> types;
    const std::vector<std::string> keys = keysOf(pf, sampleIndices(pf, [&](int index) {
                                                     std::string value = pf.getValue(index, nullptr, &types);
                                                     return !types.empty() && value != "&Arr" && value != "&Tbl";
                                                 }));
    bool ok = false;
    for (const std::string &key : keys) {
        pf.getValue(key, &ok, nullptr);
        if (!ok) state.SkipWithError(("generated value fails its check: " + key).c_str());
    }
    size_t next = 0;
    for (auto _ : state) {
        std::string value = pf.getValue(keys[next], &ok, &types);
        benchmark::DoNotOptimize(value.data());
        benchmark::DoNotOptimize(ok);
        next = (next + 1) % keys.size();
    }
    finishLookups(state);
}

// Runs `output`, which returns the size of the text it produced (0 when the
// text stays inside the library), and records bytes, lines and the size for
// the linear fit.
template <typename Output>
void measureOutput(benchmark::State &state, Output output) {
    const size_t lines = linesOf(state);
    const TeskPf &pf = corpus->handle(lines);
    int64_t bytes = 0;
    for (auto _ : state) bytes += static_cast<int64_t>(output(pf));
    if (bytes > 0) state.SetBytesProcessed(bytes);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * lines));
    state.SetComplexityN(static_cast<int64_t>(lines));
}

void BM_GetList(benchmark::State &state) {
    measureOutput(state, [](const TeskPf &pf) {
        Table<Table<std::string>> list = pf.getList();
        benchmark::DoNotOptimize(list.data());
        return size_t{0};
    });
}

// getEntry by key: the lookup plus the whole record.
void BM_GetEntryByKey(benchmark::State &state) {
    const TeskPf &pf = corpus->handle(linesOf(state));
    const std::vector<std::string> keys =
        keysOf(pf, sampleIndices(pf, [&](int index) { return !pf.getKey(index).empty(); }));
    size_t next = 0;
    for (auto _ : state) {
        Table<std::string> entry = pf.getEntry(keys[next]);
        benchmark::DoNotOptimize(entry.data());
        next = (next + 1) % keys.size();
    }
    finishLookups(state);
}

void BM_GetPfString(benchmark::State &state) {
    measureOutput(state, [](const TeskPf &pf) {
        std::string text = pf.getPfString();
        benchmark::DoNotOptimize(text.data());
        return text.size();
    });
}

void BM_Write(benchmark::State &state) {
    const std::string path = corpus->outputPath();
    measureOutput(state, [&](const TeskPf &pf) {
        std::string name = path;
        pf.write(name);
        return fs::file_size(name);
    });
}

void BM_GetPf(benchmark::State &state) {
    measureOutput(state, [](const TeskPf &pf) {
        Pf *tree = nullptr;
        pf.getPf(&tree);
        benchmark::DoNotOptimize(tree);
        pffree(tree);
        return size_t{0};
    });
}

void allSizes(benchmark::internal::Benchmark *family) {
    for (size_t lines : kLineCounts) family->Arg(static_cast<int64_t>(lines));
    family->MinTime(kMinSeconds);
}

void linear(benchmark::internal::Benchmark *family) {
    allSizes(family);
    family->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
}

void constant(benchmark::internal::Benchmark *family) {
    allSizes(family);
    family->Unit(benchmark::kNanosecond)->Complexity(benchmark::o1);
}

BENCHMARK(BM_Load)->Apply(linear);
BENCHMARK(BM_LookupKey)->Apply(constant);
BENCHMARK(BM_LookupIndex)->Apply(constant);
BENCHMARK(BM_GetValue)->Apply(constant);
BENCHMARK(BM_GetEntryByKey)->Apply(constant);
BENCHMARK(BM_GetList)->Apply(linear);
BENCHMARK(BM_GetPfString)->Apply(linear);
BENCHMARK(BM_Write)->Apply(linear);
BENCHMARK(BM_GetPf)->Apply(linear);

// A list of N members w(N-1) ... w0, each one a line; `annotation` goes on
// the opening line.
std::string wordList(size_t words, const std::string &annotation) {
    std::string text = "list &Tbl{" + annotation + "\n";
    for (size_t i = words; i-- > 0;) text += "  w" + std::to_string(i) + "\n";
    return text + "}\n";
}

// " #<str>(w0 ... w(N-1))"
std::string wordAnnotation(size_t words) {
    std::string text = " #<str>(";
    for (size_t i = 0; i < words; ++i) text += (i ? " w" : "w") + std::to_string(i);
    return text + ")";
}

// teskpf::checkFile on a list of N members under a <str>(...) annotation of
// N words: linear, since each annotation's words are hashed once.
void BM_CheckWordList(benchmark::State &state) {
    const size_t words = static_cast<size_t>(state.range(0));
    const std::string file =
        (fs::temp_directory_path() / ("teskpf-bench-words-" + std::to_string(getpid()) + ".pf")).string();
    teskpf_bench::writeTextFile(file, wordList(words, wordAnnotation(words)));
    for (auto _ : state) benchmark::DoNotOptimize(teskpf::checkFile(file));
    fs::remove(file);
    state.SetComplexityN(static_cast<int64_t>(words));
}

// Two layers of NAME.pf, base/ and site/ in a directory of their own, on
// PFPATH until the object goes away; then PFPATH is put back and the
// directory removed.
class TwoLayers {
public:
    TwoLayers(const std::string &tag, const std::string &name, const std::string &base, const std::string &site)
        : dir_(fs::temp_directory_path() / ("teskpf-bench-" + tag + "-" + std::to_string(getpid()))) {
        fs::create_directories(dir_ / "base");
        fs::create_directories(dir_ / "site");
        teskpf_bench::writeTextFile((dir_ / "base" / (name + ".pf")).string(), base);
        teskpf_bench::writeTextFile((dir_ / "site" / (name + ".pf")).string(), site);
        if (const char *saved = std::getenv("PFPATH")) previous_ = saved;
        setenv("PFPATH", ((dir_ / "base").string() + ":" + (dir_ / "site").string()).c_str(), 1);
    }
    ~TwoLayers() {
        if (previous_)
            setenv("PFPATH", previous_->c_str(), 1);
        else
            unsetenv("PFPATH");
        std::error_code ignored;
        fs::remove_all(dir_, ignored);
    }

private:
    fs::path dir_;
    std::optional<std::string> previous_;
};

// teskpf::checkName on the same list in two layers: the site's copy has no
// annotation, so every member is checked against the base's. Linear too:
// the base's block annotation is made and hashed once for all members.
void BM_CheckLayeredWordList(benchmark::State &state) {
    const size_t words = static_cast<size_t>(state.range(0));
    const TwoLayers layers("layers", "words", wordList(words, wordAnnotation(words)), wordList(words, ""));
    for (auto _ : state) benchmark::DoNotOptimize(teskpf::checkName("words"));
    state.SetComplexityN(static_cast<int64_t>(words));
}

// Four sizes, so that the complexity fit tells linear from quadratic.
void wordListSizes(benchmark::internal::Benchmark *family) {
    for (int64_t words : {10000, 20000, 40000, 80000}) family->Arg(words);
    family->MinTime(kMinSeconds)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
}

// Two layers of keys.pf: the base's N keys k0 ... k(N-1) annotated <int>, the
// site's overriding each of them without the annotation.
TwoLayers overriddenKeys(const std::string &tag, size_t keys) {
    std::string base, site;
    for (size_t i = 0; i < keys; ++i) {
        base += "k" + std::to_string(i) + " 1 #<int>\n";
        site += "k" + std::to_string(i) + " 2\n";
    }
    return TwoLayers(tag, "keys", base, site);
}

// Node::check on every value of two layers where the site overrides each of N
// base keys without repeating its annotation: each verdict looks the key up
// in the base file, read alone once for all of them. Linear.
void BM_CheckLayeredOverrides(benchmark::State &state) {
    const size_t keys = static_cast<size_t>(state.range(0));
    const TwoLayers layers = overriddenKeys("overrides", keys);
    for (auto _ : state) {
        const teskpf::Document document = teskpf::Document::load("keys");
        size_t ok = 0;
        for (teskpf::Member member : document.root()) ok += member.node.check().ok;
        benchmark::DoNotOptimize(ok);
    }
    state.SetComplexityN(static_cast<int64_t>(keys));
}

// teskpf::explain of one key of two layers of N keys each, the site
// overriding every base key without its annotation: the files are read and
// merged once per call, and the annotation is found in the base. Linear.
void BM_ExplainLayered(benchmark::State &state) {
    const size_t keys = static_cast<size_t>(state.range(0));
    const TwoLayers layers = overriddenKeys("explain", keys);
    const std::string key = "[\"k" + std::to_string(keys / 2) + "\"]";
    for (auto _ : state) benchmark::DoNotOptimize(teskpf::explain("keys", key));
    state.SetComplexityN(static_cast<int64_t>(keys));
}

// teskpf::checkText on N values that fail their annotation, each silenced by
// the directive on the line before it, and N keys defined twice, silenced by
// one directive for the file: nothing is reported, and the work is linear.
void BM_CheckSilenced(benchmark::State &state) {
    const size_t values = static_cast<size_t>(state.range(0));
    std::string text = "# teskpf-disable-file duplicate-key\n";
    for (size_t i = 0; i < values; ++i)
        text += "# teskpf-disable-next-line value-mismatch\nk" + std::to_string(i) + " x #<int>\nd 1\n";
    for (auto _ : state) {
        if (!teskpf::checkText(text, "silenced.pf").empty()) state.SkipWithError("a diagnostic was not silenced");
    }
    state.SetComplexityN(static_cast<int64_t>(values));
}

BENCHMARK(BM_CheckWordList)->Apply(wordListSizes);
BENCHMARK(BM_CheckSilenced)->Apply(wordListSizes);
BENCHMARK(BM_CheckLayeredWordList)->Apply(wordListSizes);
BENCHMARK(BM_CheckLayeredOverrides)->Apply(wordListSizes);
BENCHMARK(BM_ExplainLayered)->Apply(wordListSizes);

}  // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Corpus files;
    corpus = &files;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    corpus = nullptr;
    return 0;
}
