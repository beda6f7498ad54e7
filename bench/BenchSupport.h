// What every benchmark executable shares and that needs no engine: the sprite layout and texture,
// result files, statistics, a collecting console reporter and a description of the machine.
#pragma once

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kesto::bench {

constexpr int kWindowWidth = 1024;
constexpr int kWindowHeight = 768;
constexpr int kSpriteSize = 16;
// 0.8 as an 8-bit alpha: what SDL2's alpha modulation takes and Material::setAlpha reads.
constexpr int kSpriteAlpha = 204;
constexpr std::array<int, 3> kSpriteCounts = {100, 1000, 10000};
// Background of every frame, engine, floor and peer alike.
constexpr float kClearColor[4] = {0.0f, 0.0f, 0.25f, 1.0f};

// One sprite: centre in window pixels (y down from the top edge) and a rotation in degrees,
// clockwise on the screen.
struct Placement {
    float x;
    float y;
    float angle;
};

// The same pseudo-random layout in every executable: a fixed seed and arithmetic that does not
// depend on the standard library's distributions.
std::vector<Placement> MakeLayout(int count);

// A size x size RGBA texture (bytes R, G, B, A in memory), opaque, so straight and premultiplied
// alpha mean the same pixels.
std::vector<uint32_t> MakePixels(int size);

// Milliseconds on a monotonic clock, low 32 bits.
uint32_t NowMillis();
double NowSeconds();
// CPU time of the calling thread alone, without the GL driver's own threads.
double ThreadCpuSeconds();

// Two RGBA8888 images of one size: how many pixels differ, and the largest difference of one
// channel anywhere.
struct PixelDifference {
    long pixels = 0;
    int maxChannel = 0;
};
PixelDifference ComparePixels(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

// "key value" lines; a value runs to the end of its line.
class Results {
  public:
    bool load(const std::string& path);
    bool save(const std::string& path) const;
    void set(const std::string& key, double value);
    void setText(const std::string& key, const std::string& value);
    std::optional<double> number(const std::string& key) const;
    std::string text(const std::string& key) const;

  private:
    std::map<std::string, std::string> values_;
};

double Median(std::vector<double> values);

// Least squares y = a + b x, with the coefficient of determination.
struct LineFit {
    double a = 0;
    double b = 0;
    double r2 = 0;
};
LineFit FitLine(const std::vector<double>& x, const std::vector<double>& y);

struct MachineInfo {
    int cores = 0;
    std::string cpuModel;
    double memoryGiB = 0;
};
MachineInfo DescribeMachine();

// Peak resident set of this process so far, in MiB.
double PeakResidentMiB();
// The first three fields of /proc/loadavg.
std::string LoadAverage();

// The console reporter, keeping each run's time per iteration (seconds, manual time when the
// benchmark uses it) and counters by name, and calling a hook after each run so that callers can
// print ratios as soon as both sides are known.
class CollectingReporter : public benchmark::ConsoleReporter {
  public:
    struct Entry {
        double seconds = 0;
        // The benchmark thread's, or the whole process's (llvmpipe's threads included) where the
        // benchmark measures process CPU time.
        double cpuSeconds = 0;
        std::map<std::string, double> counters;
    };
    std::function<void(const std::string& name, CollectingReporter& reporter)> onRun;

    CollectingReporter() : benchmark::ConsoleReporter(OO_None) {}
    void ReportRuns(const std::vector<Run>& runs) override;

    const Entry* find(const std::string& name) const;
    // Median over the runs whose names are `prefix` followed by "/round:<r>".
    std::optional<double> medianSeconds(const std::string& prefix) const;
    std::optional<double> medianCpuSeconds(const std::string& prefix) const;
    std::optional<double> medianCounter(const std::string& prefix,
                                        const std::string& counter) const;
    std::ostream& out() { return GetOutputStream(); }

  private:
    std::optional<double> median(
        const std::string& prefix,
        const std::function<std::optional<double>(const Entry&)>& value) const;

    std::map<std::string, Entry> entries_;
};

// Options shared by the executables, taken out of argv before Google Benchmark sees it.
struct Options {
    std::string results;       // where to write this executable's figures
    std::string peerResults;   // the SDL2 figures, for kesto_bench
    std::string callsResults;  // the call-check figures, for kesto_bench
    int rounds = 10;
    double minTime = 0.25;
};
Options ParseOptions(int* argc, char** argv);

std::string RoundName(const std::string& prefix, int round);
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace kesto::bench
