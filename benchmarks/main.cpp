// Runs the benchmarks; takes Google Benchmark's options and, before them, --each-once, which runs each one a single
// time over as little as possible and so shows that all of them still work.
#include <cstring>
#include <vector>

#include "support/Harness.h"
#include "support/Subjects.h"
#include "tessel/LogSink.h"

namespace {

void addAll(const bench::Scale& scale) {
    bench::addModuleChain(scale);
    bench::addModuleLive(scale);
    bench::addModuleFiles(scale);
    bench::addModuleStores(scale);
    bench::addModuleMemory(scale);
    bench::addHashChain(scale);
    bench::addMergedHash(scale);
    bench::addMapChain(scale);
    bench::addBareParse(scale);
    bench::addMergeWalk(scale);
    bench::addSingleBuffer(scale);
#ifdef BENCH_PEERS
    bench::addPoco(scale);
    bench::addQSettings(scale);
    bench::addKConfig(scale);
    bench::addGKeyFile(scale);
    bench::addGSettings(scale);
    bench::addPropertyTree(scale);
#endif
}

/// True if a benchmark could not do its work: Google Benchmark only prints that.
class FailureReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            failed_ = failed_ || run.error_occurred;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    bool failed() const { return failed_; }

private:
    bool failed_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    static char shortest[] = "--benchmark_min_time=0";
    const bool eachOnce = argc > 1 && std::strcmp(argv[1], "--each-once") == 0;
    if (eachOnce) {
        arguments[1] = shortest;
    }
    int count = argc;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    tessel::LogControl::setLevel(3);
    addAll(eachOnce ? bench::Scale::once() : bench::Scale::full());
    FailureReporter reporter;
    const std::size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter);
    return ran == 0 || reporter.failed() ? 1 : 0;
}
