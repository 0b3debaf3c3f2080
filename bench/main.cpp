// Runs the benchmarks and prints each figure as a ratio beside its limit. With --check the exit
// status tells whether all limits are kept.
#include "bench/bench.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <vector>

namespace {

constexpr int repetitions = 7;

struct ratio {
    std::string name;
    double limit;
    std::function<void(const std::string&)> add_subject;  // registers it under that name
    std::function<void(const std::string&)> add_baseline;

    std::string subject_name() const { return name; }
    std::string baseline_name() const { return name + " (baseline)"; }
};

std::vector<ratio>& ratios() {
    static std::vector<ratio> registered;
    return registered;
}

// Keeps the least amount of each benchmark: what other processes add is never negative.
class least_amounts : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string& name = run.run_name.function_name;
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
                m_has_failed = true;
            }
            if (run.error_occurred || run.run_type == Run::RT_Aggregate) continue;
            const auto counter = run.counters.find("amount");
            const double amount =
                counter != run.counters.end() ? counter->second.value : run.GetAdjustedCPUTime();
            const auto [place, is_new] = m_amounts.emplace(name, amount);
            if (!is_new) place->second = std::min(place->second, amount);
        }
    }

    bool has_failed() const { return m_has_failed; }
    // Zero for a benchmark that wasn't run.
    double of(const std::string& name) const {
        const auto found = m_amounts.find(name);
        return found == m_amounts.end() ? 0 : found->second;
    }

  private:
    std::map<std::string, double> m_amounts;
    bool m_has_failed = false;
};

// True if the limit is kept, or if the figure isn't asked for.
bool measure(const ratio& row) {
    row.add_subject(row.subject_name());
    row.add_baseline(row.baseline_name());
    least_amounts amounts;
    benchmark::RunSpecifiedBenchmarks(&amounts);
    const double subject = amounts.of(row.subject_name());
    const double baseline = amounts.of(row.baseline_name());
    if (amounts.has_failed()) return false;
    if (subject <= 0 || baseline <= 0) return true;
    const bool kept = subject / baseline <= row.limit;
    std::printf("%-66s %10.4g %10.4g %7.2f %7.2f%s\n", row.name.c_str(), subject, baseline,
                subject / baseline, row.limit, kept ? "" : "  MISSED");
    return kept;
}

// Each figure has a process of its own: what one leaves on the heap slows the next.
bool measure_apart(const ratio& row) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool kept = measure(row);
        std::fflush(stdout);
        std::exit(kept ? 0 : 1);
    }
    int status = 1;
    return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

// Takes the option out of the arguments if it is there.
bool take_option(int& count, char** arguments, const char* option) {
    char** end = std::remove_if(arguments + 1, arguments + count, [&](const char* argument) {
        return std::strcmp(argument, option) == 0;
    });
    const bool found = end != arguments + count;
    count = static_cast<int>(end - arguments);
    return found;
}

}  // namespace

void add_ratio(const std::string& name, double limit, const timed& subject, const timed& baseline) {
    const auto adder = [](const timed& run) {
        return [run](const std::string& benchmark_name) {
            benchmark::RegisterBenchmark(benchmark_name.c_str(), run)
                ->Repetitions(repetitions)
                ->Unit(benchmark::kMicrosecond);
        };
    };
    ratios().push_back({name, limit, adder(subject), adder(baseline)});
}

void add_ratio_of_amounts(const std::string& name, double limit, const amount& subject,
                          const amount& baseline) {
    const auto adder = [](const amount& measure_it) {
        return [measure_it](const std::string& benchmark_name) {
            const auto run = [measure_it](benchmark::State& state) {
                for (auto _ : state) state.counters["amount"] = measure_it();
            };
            benchmark::RegisterBenchmark(benchmark_name.c_str(), run)
                ->Iterations(1)
                ->Repetitions(repetitions);
        };
    };
    ratios().push_back({name, limit, adder(subject), adder(baseline)});
}

int main(int count, char** arguments) {
    const bool check = take_option(count, arguments, "--check");
    // Subject and baseline take turns, so that a busy spell of the machine meets both.
    std::vector<char*> all(arguments, arguments + count);
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    all.insert(all.begin() + 1, interleaved.data());
    count = static_cast<int>(all.size());
    benchmark::Initialize(&count, all.data());
    if (benchmark::ReportUnrecognizedArguments(count, all.data())) return 2;
    add_load_ratios();
    add_look_up_ratios();
    add_tool_ratios();
    std::printf("%-66s %10s %10s %7s %7s\n", "figure", "subject", "baseline", "ratio", "limit");
    bool all_kept = true;
    for (const ratio& row : ratios()) all_kept = measure_apart(row) && all_kept;
    return all_kept || !check ? 0 : 1;
}
