#include "bench/BenchSupport.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>

namespace kesto::bench {

namespace {

constexpr uint32_t kLayoutSeed = 20240611u;

double Unit(std::mt19937& generator) {
    return generator() / 4294967296.0;
}

}  // namespace

std::vector<Placement> MakeLayout(int count) {
    std::mt19937 generator(kLayoutSeed);
    std::vector<Placement> layout(static_cast<size_t>(count));
    for (Placement& placement : layout) {
        placement.x = static_cast<float>(Unit(generator) * kWindowWidth);
        placement.y = static_cast<float>(Unit(generator) * kWindowHeight);
        placement.angle = static_cast<float>(Unit(generator) * 360.0);
    }
    return layout;
}

std::vector<uint32_t> MakePixels(int size) {
    std::vector<uint32_t> pixels(static_cast<size_t>(size) * size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const uint8_t bytes[4] = {static_cast<uint8_t>(255 * x / (size - 1)),
                                      static_cast<uint8_t>(255 * y / (size - 1)),
                                      static_cast<uint8_t>(((x ^ y) & 8) != 0 ? 255 : 96), 255};
            std::memcpy(&pixels[static_cast<size_t>(y) * size + x], bytes, 4);
        }
    }
    return pixels;
}

uint32_t NowMillis() {
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

double NowSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double ThreadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec + now.tv_nsec * 1e-9;
}

PixelDifference ComparePixels(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    PixelDifference difference;
    for (size_t i = 0; i + 3 < a.size() && i + 3 < b.size(); i += 4) {
        int largest = 0;
        for (size_t c = i; c < i + 4; ++c) {
            largest = std::max(largest, std::abs(a[c] - b[c]));
        }
        difference.pixels += largest != 0 ? 1 : 0;
        difference.maxChannel = std::max(difference.maxChannel, largest);
    }
    return difference;
}

bool Results::load(const std::string& path) {
    std::ifstream in(path);
    if (!in) {
        return false;
    }
    std::string line;
    while (std::getline(in, line)) {
        const size_t space = line.find(' ');
        if (space != std::string::npos) {
            values_[line.substr(0, space)] = line.substr(space + 1);
        }
    }
    return true;
}

bool Results::save(const std::string& path) const {
    std::ofstream out(path);
    for (const auto& [key, value] : values_) {
        out << key << ' ' << value << '\n';
    }
    return static_cast<bool>(out);
}

void Results::set(const std::string& key, double value) {
    values_[key] = Format("%.9g", value);
}

void Results::setText(const std::string& key, const std::string& value) {
    std::string flat = value;
    std::replace(flat.begin(), flat.end(), '\n', ' ');
    values_[key] = flat;
}

std::optional<double> Results::number(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) {
        return std::nullopt;
    }
    char* end = nullptr;
    const double value = std::strtod(found->second.c_str(), &end);
    if (end == found->second.c_str()) {
        return std::nullopt;
    }
    return value;
}

std::string Results::text(const std::string& key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? std::string() : found->second;
}

double Median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : 0.5 * (values[middle - 1] + values[middle]);
}

LineFit FitLine(const std::vector<double>& x, const std::vector<double>& y) {
    LineFit fit;
    const size_t n = std::min(x.size(), y.size());
    if (n < 2) {
        return fit;
    }
    double meanX = 0, meanY = 0;
    for (size_t i = 0; i < n; ++i) {
        meanX += x[i];
        meanY += y[i];
    }
    meanX /= n;
    meanY /= n;
    double sxx = 0, sxy = 0, syy = 0;
    for (size_t i = 0; i < n; ++i) {
        sxx += (x[i] - meanX) * (x[i] - meanX);
        sxy += (x[i] - meanX) * (y[i] - meanY);
        syy += (y[i] - meanY) * (y[i] - meanY);
    }
    fit.b = sxy / sxx;
    fit.a = meanY - fit.b * meanX;
    double residual = 0;
    for (size_t i = 0; i < n; ++i) {
        const double e = y[i] - (fit.a + fit.b * x[i]);
        residual += e * e;
    }
    fit.r2 = syy > 0 ? 1.0 - residual / syy : 1.0;
    return fit;
}

MachineInfo DescribeMachine() {
    MachineInfo info;
    info.cores = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    std::ifstream cpu("/proc/cpuinfo");
    std::string line;
    while (std::getline(cpu, line)) {
        if (line.rfind("model name", 0) == 0) {
            const size_t colon = line.find(':');
            if (colon != std::string::npos) {
                info.cpuModel = line.substr(line.find_first_not_of(' ', colon + 1));
            }
            break;
        }
    }
    std::ifstream memory("/proc/meminfo");
    while (std::getline(memory, line)) {
        if (line.rfind("MemTotal:", 0) == 0) {
            info.memoryGiB = std::strtod(line.c_str() + 9, nullptr) / (1024.0 * 1024.0);
            break;
        }
    }
    return info;
}

double PeakResidentMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

std::string LoadAverage() {
    std::ifstream in("/proc/loadavg");
    std::string a, b, c;
    in >> a >> b >> c;
    return a + " " + b + " " + c;
}

void CollectingReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred || run.run_type != Run::RT_Iteration) {
            continue;
        }
        Entry entry;
        entry.seconds = run.iterations > 0
                            ? run.real_accumulated_time / static_cast<double>(run.iterations)
                            : 0;
        entry.cpuSeconds =
            run.iterations > 0 ? run.cpu_accumulated_time / static_cast<double>(run.iterations) : 0;
        for (const auto& [name, counter] : run.counters) {
            entry.counters[name] = counter.value;
        }
        // The registered name alone: Google Benchmark appends min_time, real_time and the like.
        const std::string name = run.run_name.function_name;
        entries_[name] = entry;
        if (onRun) {
            onRun(name, *this);
        }
    }
}

const CollectingReporter::Entry* CollectingReporter::find(const std::string& name) const {
    const auto found = entries_.find(name);
    return found == entries_.end() ? nullptr : &found->second;
}

std::optional<double> CollectingReporter::medianSeconds(const std::string& prefix) const {
    return median(prefix, [](const Entry& entry) { return entry.seconds; });
}

std::optional<double> CollectingReporter::medianCpuSeconds(const std::string& prefix) const {
    return median(prefix, [](const Entry& entry) { return entry.cpuSeconds; });
}

std::optional<double> CollectingReporter::medianCounter(const std::string& prefix,
                                                        const std::string& counter) const {
    return median(prefix, [&](const Entry& entry) -> std::optional<double> {
        const auto found = entry.counters.find(counter);
        return found != entry.counters.end() ? std::optional<double>(found->second) : std::nullopt;
    });
}

std::optional<double> CollectingReporter::median(
    const std::string& prefix,
    const std::function<std::optional<double>(const Entry&)>& value) const {
    std::vector<double> values;
    const std::string start = prefix + "/round:";
    for (const auto& [name, entry] : entries_) {
        if (name.rfind(start, 0) == 0) {
            if (const auto v = value(entry)) {
                values.push_back(*v);
            }
        }
    }
    if (values.empty()) {
        return std::nullopt;
    }
    return Median(values);
}

Options ParseOptions(int* argc, char** argv) {
    Options options;
    int kept = 1;
    for (int i = 1; i < *argc; ++i) {
        const std::string argument = argv[i];
        auto value = [&](const char* flag) -> const char* {
            const size_t length = std::strlen(flag);
            return argument.compare(0, length, flag) == 0 ? argv[i] + length : nullptr;
        };
        if (const char* v = value("--results=")) {
            options.results = v;
        } else if (const char* v = value("--peer-results=")) {
            options.peerResults = v;
        } else if (const char* v = value("--calls-results=")) {
            options.callsResults = v;
        } else if (const char* v = value("--rounds=")) {
            options.rounds = std::max(1, std::atoi(v));
        } else if (const char* v = value("--min-time=")) {
            options.minTime = std::max(0.01, std::atof(v));
        } else {
            argv[kept++] = argv[i];
        }
    }
    *argc = kept;
    return options;
}

std::string RoundName(const std::string& prefix, int round) {
    return prefix + "/round:" + std::to_string(round);
}

std::string Format(const char* format, ...) {
    char buffer[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return buffer;
}

}  // namespace kesto::bench
