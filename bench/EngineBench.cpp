// kesto_bench: the engine's benchmarks, its floor, and the summary table (with the SDL2 peer's and
// the call check's figures read from the files their executables wrote earlier in the same run).
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>

#include "bench/BenchSupport.h"
#include "bench/SpriteScenes.h"
#include "scene/BlurSprite.h"

namespace kesto::bench {
namespace {

constexpr int kUploadSize = 1024;
constexpr int kBlurSourceSize = 512;
constexpr float kMaxBlur = 12.0f;
constexpr int kMemoryCount = 10000;

struct HitPoints {
    int missX = -1, missY = -1;
    int lastX = -1, lastY = -1;
    bool ready = false;
};

// Ratios of the two sides of a pair, one a round: wall clock and process CPU, by sprite count.
struct Ratios {
    std::map<int, std::vector<double>> wall;
    std::map<int, std::vector<double>> cpu;
};

struct State {
    Options options;
    Harness harness;
    std::unique_ptr<Texture> spriteTexture;
    std::map<int, std::unique_ptr<EngineSprites>> engine;
    std::map<int, std::unique_ptr<FloorSprites>> floor;
    std::map<int, std::unique_ptr<LimitSprites>> limit;
    std::map<int, HitPoints> hitPoints;
    std::unique_ptr<Bitmap> uploadBitmap;
    std::unique_ptr<Texture> blurSource;
    Results peer;
    Results calls;
    bool havePeer = false;
    bool haveCalls = false;
    double framePeakMiB = 0;
    std::string loadBefore;
    Ratios floorRatios;  // engine per-mesh / floor
    Ratios limitRatios;  // engine / limit
    std::vector<double> uploadRatios;
};

State* g = nullptr;

Window* TheWindow() {
    return g->harness.window.get();
}

void EngineFrame() {
    TheWindow()->render();
    TheWindow()->present();
}

// Every version of an N-sprite scene, each drawn twice so that buffers exist and caches are warm.
// The floor and the limit take the renderer's matrices after per-mesh frames, the path the floor
// reproduces.
void Prepare(int count) {
    if (g->engine.count(count) != 0) {
        return;
    }
    auto sprites =
        std::make_unique<EngineSprites>(g->harness.env, g->spriteTexture.get(), MakeLayout(count));
    sprites->show(TheWindow());
    EngineFrame();
    EngineFrame();
    BatchingScope perMesh(TheWindow(), false);
    EngineFrame();
    EngineFrame();
    auto floor = std::make_unique<FloorSprites>(g->harness, *sprites);
    auto limit = std::make_unique<LimitSprites>(g->harness, *sprites);
    for (int i = 0; i < 2; ++i) {
        floor->render();
        floor->present();
    }
    limit->bind();
    for (int i = 0; i < 2; ++i) {
        limit->render();
        limit->present();
    }
    limit->unbind();
    g->engine[count] = std::move(sprites);
    g->floor[count] = std::move(floor);
    g->limit[count] = std::move(limit);
}

size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::unique_ptr<Bitmap> PatternBitmap(int size) {
    auto bitmap = std::make_unique<Bitmap>();
    if (!bitmap->allocateBitmap(PIXEL_FORMAT_RGBA8888, size, size)) {
        return nullptr;
    }
    for (int y = 0; y < size; ++y) {
        uint8_t* row = bitmap->buffer + y * bitmap->scanlineBytes;
        for (int x = 0; x < size; ++x) {
            row[4 * x + 0] = static_cast<uint8_t>(x * 7 + y);
            row[4 * x + 1] = static_cast<uint8_t>(y * 5);
            row[4 * x + 2] = static_cast<uint8_t>((x ^ y) * 3);
            row[4 * x + 3] = 255;
        }
    }
    return bitmap;
}

// A window pixel that no sprite can reach (every sprite centre further than half a diagonal), the
// uncovered one nearest the centre; and a second one well away from it, where the sprite hit-tested
// last is moved so that a query there tests every sprite and then hits.
HitPoints FindHitPoints(EngineSprites& sprites, const std::vector<Placement>& layout) {
    constexpr int kReach = 12;  // > 16 / sqrt(2)
    std::vector<uint8_t> covered(static_cast<size_t>(kWindowWidth) * kWindowHeight, 0);
    for (const Placement& p : layout) {
        const int cx = static_cast<int>(std::lround(p.x));
        const int cy = static_cast<int>(std::lround(p.y));
        for (int y = std::max(0, cy - kReach - 1);
             y <= std::min(kWindowHeight - 1, cy + kReach + 1); ++y) {
            for (int x = std::max(0, cx - kReach - 1);
                 x <= std::min(kWindowWidth - 1, cx + kReach + 1); ++x) {
                const float dx = x - p.x, dy = y - p.y;
                if (dx * dx + dy * dy <= (kReach + 1) * (kReach + 1)) {
                    covered[static_cast<size_t>(y) * kWindowWidth + x] = 1;
                }
            }
        }
    }
    auto nearest = [&](int avoidX, int avoidY) {
        long best = -1;
        int bestX = -1, bestY = -1;
        for (int y = kReach; y < kWindowHeight - kReach; ++y) {
            for (int x = kReach; x < kWindowWidth - kReach; ++x) {
                if (covered[static_cast<size_t>(y) * kWindowWidth + x] != 0) {
                    continue;
                }
                if (avoidX >= 0 && std::hypot(x - avoidX, y - avoidY) < 4.0 * kReach) {
                    continue;
                }
                const long d = static_cast<long>(x - kWindowWidth / 2) * (x - kWindowWidth / 2) +
                               static_cast<long>(y - kWindowHeight / 2) * (y - kWindowHeight / 2);
                if (best < 0 || d < best) {
                    best = d;
                    bestX = x;
                    bestY = y;
                }
            }
        }
        return std::make_pair(bestX, bestY);
    };
    HitPoints points;
    std::tie(points.missX, points.missY) = nearest(-1, -1);
    if (points.missX < 0) {
        return points;
    }
    std::tie(points.lastX, points.lastY) = nearest(points.missX, points.missY);
    if (points.lastX < 0) {
        return points;
    }
    // Children are tested from the last to the first: the first sprite is tested last.
    sprites.sprites.front()->setPosition(EngineSprites::PositionOf(
        Placement{static_cast<float>(points.lastX), static_cast<float>(points.lastY), 0.0f}));
    Vector position, normal, direction;
    SceneNode* node = nullptr;
    const bool missed =
        !TheWindow()->hitTest(points.missX, points.missY, &position, &normal, &direction, &node);
    node = nullptr;
    const bool hitLast =
        TheWindow()->hitTest(points.lastX, points.lastY, &position, &normal, &direction, &node) &&
        node == sprites.sprites.front().get();
    points.ready = missed && hitLast;
    return points;
}

constexpr char kThreadCpu[] = "thread_cpu_ns_per_sprite";

// The timed frames, with the calling thread's CPU time a frame and a sprite: what the GL driver's
// own threads do is left out, what the engine and the driver do on the caller is not.
template <typename Frame>
void TimeFrames(benchmark::State& state, int count, Frame frame) {
    const double cpuStart = ThreadCpuSeconds();
    for (auto _ : state) {
        frame();
    }
    const double iterations = std::max<double>(1, state.iterations());
    state.counters[kThreadCpu] = (ThreadCpuSeconds() - cpuStart) * 1e9 / iterations / count;
    g->framePeakMiB = PeakResidentMiB();
}

void RegisterFrames() {
    const double minTime = g->options.minTime;
    for (int round = 1; round <= g->options.rounds; ++round) {
        for (int count : kSpriteCounts) {
            auto engine = [count](bool batched) {
                return [count, batched](benchmark::State& state) {
                    Prepare(count);
                    BatchingScope path(TheWindow(), batched);
                    g->engine[count]->show(TheWindow());
                    EngineFrame();
                    TimeFrames(state, count, EngineFrame);
                };
            };
            auto floor = [count](benchmark::State& state) {
                Prepare(count);
                FloorSprites& scene = *g->floor[count];
                auto frame = [&scene] {
                    scene.render();
                    scene.present();
                };
                frame();
                TimeFrames(state, count, frame);
            };
            auto limit = [count](benchmark::State& state) {
                Prepare(count);
                LimitSprites& scene = *g->limit[count];
                auto frame = [&scene] {
                    scene.render();
                    scene.present();
                };
                scene.bind();
                frame();
                TimeFrames(state, count, frame);
                scene.unbind();
            };
            std::vector<std::pair<const char*, std::function<void(benchmark::State&)>>> sides = {
                {"engine", engine(true)},
                {"engine-permesh", engine(false)},
                {"floor", floor},
                {"limit", limit}};
            // Reverse the order every other round, so that drift does not favour one side.
            if (round % 2 == 0) {
                std::reverse(sides.begin(), sides.end());
            }
            for (const auto& [side, run] : sides) {
                benchmark::RegisterBenchmark(
                    RoundName(Format("frame/%s/%d", side, count), round).c_str(), run)
                    ->MinTime(minTime)
                    ->MeasureProcessCPUTime()
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
}

void RegisterUpdates() {
    for (int count : kSpriteCounts) {
        benchmark::RegisterBenchmark(
            Format("update/engine/%d", count).c_str(),
            [count](benchmark::State& state) {
                Prepare(count);
                EngineSprites& scene = *g->engine[count];
                scene.show(TheWindow());
                const std::vector<Placement> layout = MakeLayout(count);
                std::vector<Vector> home, moved;
                for (const Placement& p : layout) {
                    home.push_back(EngineSprites::PositionOf(p));
                    moved.push_back(Vector(home.back().x + 1.0f, home.back().y + 1.0f, 0.0f));
                }
                bool away = false;
                for (auto _ : state) {
                    away = !away;
                    const std::vector<Vector>& target = away ? moved : home;
                    for (size_t i = 0; i < target.size(); ++i) {
                        scene.sprites[i]->setPosition(target[i]);
                    }
                    EngineFrame();
                }
                for (size_t i = 0; i < home.size(); ++i) {
                    scene.sprites[i]->setPosition(home[i]);
                }
            })
            ->MinTime(g->options.minTime)
            ->MeasureProcessCPUTime()
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
}

// Partial redraw against the same scene drawn whole: a few sprites moving a pixel a frame, none,
// and all of them. Each round runs both sides, alternating which goes first.
struct PartialCase {
    const char* name;
    int count;
    int moving;
};
constexpr PartialCase kPartialCases[] = {{"one_of_1000", 1000, 1},
                                         {"ten_of_10000", 10000, 10},
                                         {"none_of_1000", 1000, 0},
                                         {"all_of_1000", 1000, 1000}};

void RegisterPartial() {
    for (int round = 0; round < g->options.rounds; ++round) {
        for (const PartialCase& c : kPartialCases) {
            for (int side = 0; side < 2; ++side) {
                const bool partial = (side == 0) == (round % 2 == 0);
                const std::string name = RoundName(
                    Format("partial/%s/%s", c.name, partial ? "partial" : "whole"), round);
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [c, partial](benchmark::State& state) {
                        Prepare(c.count);
                        EngineSprites& scene = *g->engine[c.count];
                        scene.show(TheWindow());
                        TheWindow()->setPartialRedraw(partial);
                        // Spread over the scene's order, as moving sprites are in an app.
                        std::vector<Sprite*> moving;
                        std::vector<Vector> home;
                        for (int i = 0; i < c.moving; ++i) {
                            moving.push_back(scene.sprites[i * (c.count / c.moving)].get());
                            home.push_back(moving.back()->getPosition());
                        }
                        EngineFrame();
                        EngineFrame();
                        bool away = false;
                        for (auto _ : state) {
                            away = !away;
                            for (size_t i = 0; i < moving.size(); ++i) {
                                const Vector& at = home[i];
                                moving[i]->setPosition(away ? Vector(at.x + 1.0f, at.y + 1.0f, 0.0f)
                                                            : at);
                            }
                            EngineFrame();
                        }
                        for (size_t i = 0; i < moving.size(); ++i) {
                            moving[i]->setPosition(home[i]);
                        }
                        TheWindow()->setPartialRedraw(false);
                    })
                    ->MinTime(g->options.minTime)
                    ->MeasureProcessCPUTime()
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
}

// What any partial frame costs at least on this platform, engine or not: a 32x32 scissored clear
// and the swap, in the same window with the same preserved swap.
void RegisterSwapFloor() {
    benchmark::RegisterBenchmark(
        "partial/floor",
        [](benchmark::State& state) {
            Window* window = TheWindow();
            window->setPartialRedraw(true);
            Renderer* renderer = window->context->renderer;
            renderer->targetSurface(window->eglSurface, window->width, window->height);
            int frame = 0;
            for (auto _ : state) {
                glEnable(GL_SCISSOR_TEST);
                glScissor(100 + frame % 2, 100, 32, 32);
                glClearColor(0.0f, static_cast<float>(++frame % 2), 1.0f, 1.0f);
                glClear(GL_COLOR_BUFFER_BIT);
                glDisable(GL_SCISSOR_TEST);
                eglSwapBuffers(window->environment->eglDisplay, window->eglSurface);
            }
            window->setPartialRedraw(false);
        })
        ->MinTime(g->options.minTime)
        ->MeasureProcessCPUTime()
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void RegisterHitTests() {
    for (int count : kSpriteCounts) {
        for (const bool miss : {true, false}) {
            benchmark::RegisterBenchmark(
                Format("hit_test/%s/%d", miss ? "miss" : "hit_last", count).c_str(),
                [count, miss](benchmark::State& state) {
                    Prepare(count);
                    EngineSprites& scene = *g->engine[count];
                    if (g->hitPoints.count(count) == 0) {
                        scene.show(TheWindow());
                        EngineFrame();  // places the camera
                        g->hitPoints[count] = FindHitPoints(scene, MakeLayout(count));
                    }
                    const HitPoints& points = g->hitPoints[count];
                    if (!points.ready) {
                        state.SkipWithError("no point that misses every sprite was found");
                        return;
                    }
                    const int x = miss ? points.missX : points.lastX;
                    const int y = miss ? points.missY : points.lastY;
                    Vector position, normal, direction;
                    SceneNode* expected = miss ? nullptr : scene.sprites.front().get();
                    bool right = true;
                    for (auto _ : state) {
                        SceneNode* node = nullptr;
                        const bool hit =
                            TheWindow()->hitTest(x, y, &position, &normal, &direction, &node);
                        right &= hit == !miss && node == expected;
                        benchmark::DoNotOptimize(node);
                    }
                    if (!right) {
                        state.SkipWithError("the hit test answered differently than expected");
                    }
                })
                ->MinTime(g->options.minTime)
                ->UseRealTime()
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

void RegisterMemory() {
    benchmark::RegisterBenchmark(
        Format("memory/heap_per_sprite/%d", kMemoryCount).c_str(),
        [](benchmark::State& state) {
            double created = 0;
            for (auto _ : state) {
                const std::vector<Placement> layout = MakeLayout(kMemoryCount);
                const size_t before = HeapInUse();
                auto sprites =
                    std::make_unique<EngineSprites>(g->harness.env, g->spriteTexture.get(), layout);
                // Not the engine's: the benchmark's own array of sprite pointers.
                const size_t container = sprites->sprites.capacity() * sizeof(sprites->sprites[0]);
                const size_t afterCreate = HeapInUse() - container;
                created = (static_cast<double>(afterCreate) - before) / kMemoryCount;
            }
            state.counters["bytes_per_sprite"] = created;
        })
        ->Iterations(1)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void RegisterUploads() {
    const int bytes = kUploadSize * kUploadSize * 4;
    for (int round = 1; round <= g->options.rounds; ++round) {
        auto engine = [](benchmark::State& state) {
            Texture texture(g->harness.env);
            texture.init();
            for (auto _ : state) {
                texture.setupByBitmap_InRenderThread(g->uploadBitmap.get(), false);
                const double start = NowSeconds();
                EngineUpload(&texture);
                state.SetIterationTime(NowSeconds() - start);
            }
            if (texture.renderTextureHandle == 0) {
                state.SkipWithError("createRenderTexture made no texture");
            }
        };
        auto plain = [bytes](benchmark::State& state) {
            std::vector<uint8_t> staging(static_cast<size_t>(bytes));
            GLuint name = 0;
            for (auto _ : state) {
                // The engine's set-up copies the pixels too; outside the timed part in both.
                std::memcpy(staging.data(), g->uploadBitmap->buffer, staging.size());
                const double start = NowSeconds();
                PlainUpload(&name, staging.data(), kUploadSize);
                state.SetIterationTime(NowSeconds() - start);
            }
            glDeleteTextures(1, &name);
        };
        for (int side = 0; side < 2; ++side) {
            const bool engineNow = (side == 0) == (round % 2 == 1);
            const std::string name = RoundName(engineNow ? "upload/engine" : "upload/plain", round);
            benchmark::RegisterBenchmark(name.c_str(),
                                         [engine, plain, engineNow](benchmark::State& state) {
                                             engineNow ? engine(state) : plain(state);
                                         })
                ->MinTime(g->options.minTime)
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        }
    }
}

void RegisterBlur() {
    benchmark::RegisterBenchmark("blur/set_texture",
                                 [](benchmark::State& state) {
                                     BlurSprite sprite(g->harness.env);
                                     sprite.init();
                                     bool built = true;
                                     for (auto _ : state) {
                                         built &= sprite.setTexture(g->harness.context,
                                                                    g->blurSource.get(), kMaxBlur);
                                         glFinish();
                                     }
                                     if (!built) {
                                         state.SkipWithError("setTexture failed");
                                     }
                                 })
        ->MinTime(g->options.minTime)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(
        "blur/level_change",
        [](benchmark::State& state) {
            BlurSprite sprite(g->harness.env);
            sprite.init();
            if (!sprite.setTexture(g->harness.context, g->blurSource.get(), kMaxBlur)) {
                state.SkipWithError("setTexture failed");
                return;
            }
            glFinish();
            const float levels[2] = {4.5f, 7.5f};
            int next = 0;
            bool changed = true;
            for (auto _ : state) {
                changed &= sprite.setBlurParameter(g->harness.context, levels[next]);
                next ^= 1;
            }
            if (!changed) {
                state.SkipWithError("setBlurParameter failed");
            }
        })
        ->MinTime(g->options.minTime)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

// "frame/engine/1000/round:2" -> side "engine", count 1000, round 2.
bool ParseRound(const std::string& name, const char* family, std::string* side, int* count,
                int* round) {
    char sideText[32] = {};
    if (std::sscanf(name.c_str(), (std::string(family) + "/%31[a-z_-]/%d/round:%d").c_str(),
                    sideText, count, round) != 3) {
        return false;
    }
    *side = sideText;
    return true;
}

void OnRun(const std::string& name, CollectingReporter& reporter) {
    std::ostream& out = reporter.out();
    std::string side;
    int count = 0, round = 0;
    if (ParseRound(name, "frame", &side, &count, &round)) {
        // Once the second side of a pair has run in this round.
        auto pair = [&](const char* a, const char* b, Ratios* ratios) {
            const auto* first = reporter.find(RoundName(Format("frame/%s/%d", a, count), round));
            const auto* second = reporter.find(RoundName(Format("frame/%s/%d", b, count), round));
            if ((side != a && side != b) || first == nullptr || second == nullptr) {
                return;
            }
            const double ratio = first->seconds / second->seconds;
            const double cpuRatio = first->cpuSeconds / second->cpuSeconds;
            ratios->wall[count].push_back(ratio);
            ratios->cpu[count].push_back(cpuRatio);
            out << Format("    %s / %s, N = %d, round %d: %.3f (process CPU: %.3f)\n", a, b, count,
                          round, ratio, cpuRatio);
        };
        pair("engine-permesh", "floor", &g->floorRatios);
        pair("engine", "limit", &g->limitRatios);
        const auto peer = g->peer.number(Format("peer.frame_ms.%d", count));
        if (side == "engine" && peer) {
            out << Format(
                "    engine / SDL2, N = %d: %.3f (SDL2 median %.3f ms, its own process)\n", count,
                reporter.find(name)->seconds * 1e3 / *peer, *peer);
        }
        return;
    }
    if (std::sscanf(name.c_str(), "upload/%*[a-z]/round:%d", &round) == 1) {
        const auto* engine = reporter.find(RoundName("upload/engine", round));
        const auto* plain = reporter.find(RoundName("upload/plain", round));
        if (engine != nullptr && plain != nullptr) {
            const double ratio = engine->seconds / plain->seconds;
            g->uploadRatios.push_back(ratio);
            out << Format("    engine / glTexImage2D, round %d: %.3f (target <= 1.2)\n", round,
                          ratio);
        }
        return;
    }
    if (std::sscanf(name.c_str(), "update/engine/%d", &count) == 1) {
        const auto* update = reporter.find(name);
        const auto still = reporter.medianSeconds(Format("frame/engine/%d", count));
        const auto stillCpu = reporter.medianCpuSeconds(Format("frame/engine/%d", count));
        if (update != nullptr && still && stillCpu) {
            out << Format(
                "    update frame / unchanged frame, N = %d: %.3f (process CPU: %.3f us a sprite "
                "more)\n",
                count, update->seconds / *still, (update->cpuSeconds - *stillCpu) * 1e6 / count);
        }
        return;
    }
    if (name == Format("hit_test/miss/%d", kSpriteCounts.back())) {
        if (const auto* miss = reporter.find(name)) {
            out << Format("    miss over %d sprites: %.1f us (target <= 1000 us)\n",
                          kSpriteCounts.back(), miss->seconds * 1e6);
        }
        return;
    }
    if (name == "blur/level_change") {
        if (const auto* change = reporter.find(name)) {
            out << Format("    level change: %.3f us (target < 5 us)\n", change->seconds * 1e6);
        }
    }
}

// --- The summary table --------------------------------------------------------------------------

struct Row {
    std::string figure;
    std::string value;
    std::string target;
    std::string result;
};

std::string Verdict(bool met) {
    return met ? "met" : "NOT MET";
}

void PrintTable(const CollectingReporter& reporter, const MachineInfo& machine,
                const std::string& gl, int swapMin, int swapMax) {
    std::vector<Row> rows;
    auto add = [&](std::string figure, std::string value, std::string target = "",
                   std::string result = "") {
        rows.push_back({std::move(figure), std::move(value), std::move(target), std::move(result)});
    };
    auto median = [&](const std::string& prefix) { return reporter.medianSeconds(prefix); };
    auto single = [&](const std::string& name) -> std::optional<double> {
        const auto* entry = reporter.find(name);
        return entry != nullptr ? std::optional<double>(entry->seconds) : std::nullopt;
    };
    // Wall-clock time, and the process's CPU time beside it for work on the calling thread alone.
    auto micros = [&](const std::string& name) {
        const auto* entry = reporter.find(name);
        return entry != nullptr
                   ? Format("%.2f us (CPU %.2f us)", entry->seconds * 1e6, entry->cpuSeconds * 1e6)
                   : std::string("n/a");
    };
    const std::string na = "n/a";
    std::vector<bool> verdicts;
    auto target = [&](bool known, bool met) {
        if (!known) {
            verdicts.push_back(false);
            return std::string("not measured");
        }
        verdicts.push_back(met);
        return Verdict(met);
    };

    std::vector<double> counts, engineMs, floorMs, peerMs;
    std::vector<double> cpuCounts, cpuBatchedUs, cpuPerMeshUs;  // calling thread, a frame
    for (int count : kSpriteCounts) {
        auto prefix = [count](const char* side) { return Format("frame/%s/%d", side, count); };
        const auto engine = median(prefix("engine"));
        const auto perMesh = median(prefix("engine-permesh"));
        const auto floor = median(prefix("floor"));
        const auto peer = g->peer.number(Format("peer.frame_ms.%d", count));
        auto frameRow = [&](const char* side, const char* label) {
            const auto wall = median(prefix(side));
            const auto cpu = reporter.medianCpuSeconds(prefix(side));
            add(Format("frame, %s, N=%d", label, count),
                wall && cpu ? Format("%.3f ms (CPU %.3f ms)", *wall * 1e3, *cpu * 1e3) : na);
        };
        // A ratio of medians, with its target where `goal` is given.
        auto ratioRow = [&](const std::string& figure, std::optional<double> ratio,
                            const char* goal = nullptr, double bound = 0) {
            const std::string value = ratio ? Format("%.3f", *ratio) : na;
            if (goal != nullptr) {
                add(figure, value, goal, target(ratio.has_value(), ratio && *ratio <= bound));
            } else if (ratio) {
                add(figure, value);
            }
        };
        // The median of a pair's per-round ratios, and their process CPU beside it.
        auto pairRows = [&](const char* label, const Ratios& ratios, const char* goal,
                            double bound) {
            const auto wall = ratios.wall.find(count);
            const bool known = wall != ratios.wall.end();
            ratioRow(Format("  %s, N=%d", label, count),
                     known ? std::optional<double>(Median(wall->second)) : std::nullopt, goal,
                     bound);
            if (known) {
                add(Format("  %s, process CPU, N=%d", label, count),
                    Format("%.3f", Median(ratios.cpu.at(count))));
            }
        };
        frameRow("engine", "engine");
        frameRow("engine-permesh", "engine per-mesh");
        frameRow("floor", "floor");
        pairRows("engine per-mesh / floor", g->floorRatios, count >= 1000 ? "<= 1.10" : nullptr,
                 1.10);
        frameRow("limit", "limit");
        pairRows("engine / limit", g->limitRatios,
                 count == kSpriteCounts.back() ? "<= 1.05" : nullptr, 1.05);

        const auto cpuBatched = reporter.medianCounter(prefix("engine"), kThreadCpu);
        const auto cpuPerMesh = reporter.medianCounter(prefix("engine-permesh"), kThreadCpu);
        const bool cpuKnown = cpuBatched && cpuPerMesh && *cpuBatched > 0;
        add(Format("engine CPU/sprite (calling thread), batched / per-mesh, N=%d", count),
            cpuKnown ? Format("%.3f us / %.3f us", *cpuBatched * 1e-3, *cpuPerMesh * 1e-3) : na);
        // Per frame, this includes the clear and the swap; the target is on the fitted cost of one
        // more sprite below.
        add(Format("  per-mesh / batched, N=%d", count),
            cpuKnown ? Format("%.2f", *cpuPerMesh / *cpuBatched) : na);
        if (cpuKnown) {
            cpuCounts.push_back(count);
            cpuBatchedUs.push_back(*cpuBatched * 1e-3 * count);
            cpuPerMeshUs.push_back(*cpuPerMesh * 1e-3 * count);
        }
        // What is left on the calling thread without the engine, and with one draw.
        const auto cpuFloor = reporter.medianCounter(prefix("floor"), kThreadCpu);
        const auto cpuLimit = reporter.medianCounter(prefix("limit"), kThreadCpu);
        add(Format("  CPU/sprite (calling thread), floor / limit, N=%d", count),
            cpuFloor && cpuLimit ? Format("%.3f us / %.3f us", *cpuFloor * 1e-3, *cpuLimit * 1e-3)
                                 : na);

        auto peerRows = [&](const char* key, const char* label, bool targeted) {
            const auto wall = g->peer.number(Format("%s.frame_ms.%d", key, count));
            const auto cpu = g->peer.number(Format("%s.frame_cpu_ms.%d", key, count));
            add(Format("frame, SDL2 %s, N=%d", label, count),
                wall && cpu ? Format("%.3f ms (CPU %.3f ms)", *wall, *cpu) : na);
            auto over = [&](const std::optional<double>& ours) {
                return ours && wall ? std::optional<double>(*ours * 1e3 / *wall) : std::nullopt;
            };
            ratioRow(Format("  engine / SDL2 %s, N=%d", label, count), over(engine),
                     targeted ? "<= 0.90" : nullptr, 0.90);
            ratioRow(Format("  engine per-mesh / SDL2 %s, N=%d", label, count), over(perMesh));
        };
        peerRows("peer", "batched", count >= 1000);
        peerRows("peer_unbatched", "unbatched", false);
        if (engine && floor) {
            counts.push_back(count);
            engineMs.push_back(*engine * 1e3);
            floorMs.push_back(*floor * 1e3);
        }
        if (peer) {
            peerMs.push_back(*peer);
        }
    }
    if (counts.size() == kSpriteCounts.size()) {
        const LineFit engine = FitLine(counts, engineMs);
        const LineFit floor = FitLine(counts, floorMs);
        add("fit a + b*N, engine: b (per sprite)", Format("%.3f us", engine.b * 1e3));
        add("fit a + b*N, engine: a (fixed)", Format("%.3f ms", engine.a));
        add("fit a + b*N, engine: R^2", Format("%.5f", engine.r2), "linear: R^2 >= 0.99",
            target(true, engine.r2 >= 0.99));
        add("fit a + b*N, floor: b / a / R^2",
            Format("%.3f us / %.3f ms / %.5f", floor.b * 1e3, floor.a, floor.r2));
        if (peerMs.size() == counts.size()) {
            const LineFit peer = FitLine(counts, peerMs);
            add("fit a + b*N, SDL2 batched: b / a / R^2",
                Format("%.3f us / %.3f ms / %.5f", peer.b * 1e3, peer.a, peer.r2));
        }
    } else {
        add("fit a + b*N, engine: R^2", na, "linear: R^2 >= 0.99", target(false, false));
    }
    // The calling thread's CPU for one more sprite: the slope over N, without the per-frame clear
    // and swap that dominate at small N.
    const bool cpuFit = cpuCounts.size() == kSpriteCounts.size();
    const LineFit batchedCpu = cpuFit ? FitLine(cpuCounts, cpuBatchedUs) : LineFit{};
    const LineFit perMeshCpu = cpuFit ? FitLine(cpuCounts, cpuPerMeshUs) : LineFit{};
    add("engine CPU per added sprite (calling thread, fit), batched / per-mesh",
        cpuFit ? Format("%.3f us / %.3f us", batchedCpu.b, perMeshCpu.b) : na);
    add("  per-mesh / batched",
        cpuFit && batchedCpu.b > 0 ? Format("%.2f", perMeshCpu.b / batchedCpu.b) : na, ">= 4",
        target(cpuFit, cpuFit && perMeshCpu.b >= 4 * batchedCpu.b));

    for (int count : kSpriteCounts) {
        const auto* update = reporter.find(Format("update/engine/%d", count));
        const auto stillCpu = reporter.medianCpuSeconds(Format("frame/engine/%d", count));
        add(Format("update all + frame, N=%d", count),
            update != nullptr
                ? Format("%.3f ms (CPU %.3f ms)", update->seconds * 1e3, update->cpuSeconds * 1e3)
                : na);
        if (update != nullptr && stillCpu) {
            add("  its CPU over an unchanged frame's, a sprite",
                Format("%.3f us", (update->cpuSeconds - *stillCpu) * 1e6 / count));
        }
    }
    for (int count : kSpriteCounts) {
        const auto miss = single(Format("hit_test/miss/%d", count));
        const auto last = single(Format("hit_test/hit_last/%d", count));
        const std::string missName = Format("hit_test/miss/%d", count);
        if (count == kSpriteCounts.back()) {
            add(Format("hit test miss, N=%d", count), micros(missName), "<= 1000 us",
                target(miss.has_value(), miss && *miss <= 1e-3));
        } else {
            add(Format("hit test miss, N=%d", count), micros(missName));
        }
        add(Format("hit test hit-last, N=%d", count),
            last ? micros(Format("hit_test/hit_last/%d", count)) : na);
    }

    const auto uploadEngine = median("upload/engine");
    const auto uploadPlain = median("upload/plain");
    add("upload 1024x1024, engine", uploadEngine ? Format("%.3f ms", *uploadEngine * 1e3) : na);
    add("upload 1024x1024, glTexImage2D", uploadPlain ? Format("%.3f ms", *uploadPlain * 1e3) : na);
    if (!g->uploadRatios.empty()) {
        const double ratio = Median(g->uploadRatios);
        add("  engine / glTexImage2D", Format("%.3f", ratio), "<= 1.2", target(true, ratio <= 1.2));
    } else {
        add("  engine / glTexImage2D", na, "<= 1.2", target(false, false));
    }

    const auto chain = single("blur/set_texture");
    const auto change = single("blur/level_change");
    const auto changeCalls = g->calls.number("calls.blur_level_change.per_call");
    add(Format("blur chain %dx%d, max %.0f", kBlurSourceSize, kBlurSourceSize, kMaxBlur),
        chain ? Format("%.3f ms", *chain * 1e3) : na);
    add("blur level change", micros("blur/level_change"), "< 5 us, no GL call",
        target(change && changeCalls,
               change && changeCalls && *change < 5e-6 && *changeCalls == 0));
    add("  GL/EGL calls per level change", changeCalls ? Format("%.0f", *changeCalls) : na);

    const auto floor = single("partial/floor");
    const auto wholeOne = median("partial/one_of_1000/whole");
    add("partial redraw floor: 32x32 clear + swap (plain EGL) / whole frame, N=1000",
        floor && wholeOne ? Format("%.3f ms, %.3f", *floor * 1e3, *floor / *wholeOne) : na);
    for (const PartialCase& c : kPartialCases) {
        const auto partial = median(Format("partial/%s/partial", c.name));
        const auto whole = median(Format("partial/%s/whole", c.name));
        const bool known = partial && whole;
        add(Format("partial redraw, %d of %d moving: partial / whole", c.moving, c.count),
            known ? Format("%.3f ms / %.3f ms", *partial * 1e3, *whole * 1e3) : na);
        if (c.moving == 0) {
            const auto idleCalls = g->calls.number("calls.idle_frames");
            add("  unchanged frame, GL/EGL calls in 1000",
                known && idleCalls ? Format("%.3f ms, %.0f calls", *partial * 1e3, *idleCalls) : na,
                "<= 0.05 ms, no call",
                target(known && idleCalls,
                       known && idleCalls && *partial <= 0.05e-3 && *idleCalls == 0));
        } else {
            const double limit = c.moving == c.count ? 1.05 : 0.30;
            add("  ratio", known ? Format("%.3f", *partial / *whole) : na, Format("<= %.2f", limit),
                target(known, known && *partial / *whole <= limit));
        }
    }

    if (const auto* memory = reporter.find(Format("memory/heap_per_sprite/%d", kMemoryCount))) {
        add(Format("heap per sprite, N=%d", kMemoryCount),
            Format("%.0f B", memory->counters.at("bytes_per_sprite")));
    }
    add("peak RSS, frame benchmarks (engine, floor, limit)",
        g->framePeakMiB > 0 ? Format("%.1f MiB", g->framePeakMiB) : na);
    if (const auto rss = g->peer.number("peer.maxrss_mib")) {
        add("peak RSS, SDL2 process", Format("%.1f MiB", *rss));
    }
    // One call-check row from the figures saved under `key` ("calls.frame.100", ...).
    auto callsRow = [&](const std::string& key, const std::string& label) {
        const auto engine = g->calls.number(key + ".engine");
        const auto floor = g->calls.number(key + ".floor");
        const auto same = g->calls.number(key + ".same_sequence");
        const auto pixels = g->calls.number(key + ".pixels_differing");
        if (engine && floor && same && pixels) {
            add(label, Format("%.0f / %.0f, %s, %.0f pixels differ", *engine, *floor,
                              *same != 0 ? "same sequence" : "DIFFERENT sequence", *pixels));
        }
    };
    callsRow("calls.first_frame.100", "GL+EGL calls, first frame N=100: engine per-mesh / floor");
    for (int count : {100, 1000}) {
        callsRow(Format("calls.frame.%d", count),
                 Format("GL+EGL calls a frame, N=%d: engine per-mesh / floor", count));
        auto pixelDifference = [&](const char* key) -> std::optional<std::pair<double, double>> {
            const auto differ =
                g->calls.number(Format("calls.frame.%d.%s_pixels_differing", count, key));
            const auto diff =
                g->calls.number(Format("calls.frame.%d.%s_max_channel_diff", count, key));
            if (!differ || !diff) {
                return std::nullopt;
            }
            return std::make_pair(*differ, *diff);
        };
        auto describe = [](const std::pair<double, double>& d) {
            return Format("%.0f differ (max channel diff %.0f)", d.first, d.second);
        };
        if (const auto limit = pixelDifference("limit")) {
            add(Format("limit vs floor pixels, N=%d", count), describe(*limit));
        }
        const auto paths = pixelDifference("batched");
        add(Format("batched vs per-mesh pixels, N=%d", count), paths ? describe(*paths) : na,
            "0 (or max diff <= 1)", target(paths.has_value(), paths && paths->second <= 1));
    }
    if (const auto perSprite = g->calls.number("calls.frame.per_sprite")) {
        add("  GL calls a sprite", Format("%.1f", *perSprite));
    }

    std::ostream& out = std::cout;
    out << "\n== Kesto2 benchmark summary ==\n";
    out << Format("machine: %d cores, %s, %.1f GiB\n", machine.cores, machine.cpuModel.c_str(),
                  machine.memoryGiB);
    out << "GL: " << gl << "\n";
    if (g->havePeer) {
        out << "SDL2: " << g->peer.text("peer.version") << ", renderer "
            << g->peer.text("peer.renderer") << ", swap interval "
            << g->peer.text("peer.swap_interval") << ", GL " << g->peer.text("peer.gl") << "\n";
    } else {
        out << "SDL2: no figures (kesto_bench_sdl did not run)\n";
    }
    if (!g->haveCalls) {
        out << "call check: no figures (kesto_bench_calls did not run)\n";
    }
    out << Format(
        "engine swap interval: EGL default (1; the engine sets none), config range %d..%d\n",
        swapMin, swapMax);
    out << "load average: " << g->loadBefore << " at the start, " << LoadAverage()
        << " at the end\n";
    out << Format("window %dx%d, %dx%d sprites at alpha %d/255, %d rounds of >= %.2f s; medians\n",
                  kWindowWidth, kWindowHeight, kSpriteSize, kSpriteSize, kSpriteAlpha,
                  g->options.rounds, g->options.minTime);
    size_t widths[3] = {6, 5, 6};
    for (const Row& row : rows) {
        widths[0] = std::max(widths[0], row.figure.size());
        widths[1] = std::max(widths[1], row.value.size());
        widths[2] = std::max(widths[2], row.target.size());
    }
    auto line = [&](const std::string& a, const std::string& b, const std::string& c,
                    const std::string& d) {
        std::string text = a + std::string(widths[0] - a.size() + 2, ' ') + b +
                           std::string(widths[1] - b.size() + 2, ' ') + c +
                           std::string(widths[2] - c.size() + 2, ' ') + d;
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << "\n";
    };
    line("figure", "value", "target", "result");
    out << std::string(widths[0] + widths[1] + widths[2] + 14, '-') << "\n";
    for (const Row& row : rows) {
        line(row.figure, row.value, row.target, row.result);
    }
    int met = 0;
    for (bool v : verdicts) {
        met += v ? 1 : 0;
    }
    out << Format("targets met: %d of %zu\n", met, verdicts.size());
}

void SaveResults(const CollectingReporter& reporter) {
    if (g->options.results.empty()) {
        return;
    }
    Results results;
    for (const char* side : {"engine", "engine-permesh", "floor", "limit"}) {
        for (int count : kSpriteCounts) {
            const std::string prefix = Format("frame/%s/%d", side, count);
            if (const auto median = reporter.medianSeconds(prefix)) {
                results.set(prefix + "_ms", *median * 1e3);
            }
            if (const auto cpu = reporter.medianCounter(prefix, kThreadCpu)) {
                results.set(prefix + "_" + kThreadCpu, *cpu);
            }
        }
    }
    for (const auto& [count, ratios] : g->floorRatios.wall) {
        results.set(Format("ratio/engine_floor/%d", count), Median(ratios));
    }
    for (const auto& [count, ratios] : g->floorRatios.cpu) {
        results.set(Format("ratio/engine_floor_cpu/%d", count), Median(ratios));
    }
    for (const auto& [count, ratios] : g->limitRatios.wall) {
        results.set(Format("ratio/engine_limit/%d", count), Median(ratios));
    }
    if (!g->uploadRatios.empty()) {
        results.set("ratio/upload", Median(g->uploadRatios));
    }
    results.set("peak_rss_mib", g->framePeakMiB);
    results.save(g->options.results);
}

}  // namespace
}  // namespace kesto::bench

int main(int argc, char** argv) {
    using namespace kesto;
    using namespace kesto::bench;
    State state;
    g = &state;
    state.options = ParseOptions(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    if (!state.options.peerResults.empty()) {
        state.havePeer = state.peer.load(state.options.peerResults);
    }
    if (!state.options.callsResults.empty()) {
        state.haveCalls = state.calls.load(state.options.callsResults);
    }
    if (const char* failure = state.harness.open()) {
        std::fprintf(stderr, "kesto_bench: %s\n", failure);
        return 1;
    }
    state.loadBefore = LoadAverage();
    const MachineInfo machine = DescribeMachine();
    const std::string gl = state.harness.describeGl();
    int swapMin = -1, swapMax = -1;
    state.harness.swapIntervalRange(&swapMin, &swapMax);
    std::printf("machine: %d cores, %s, %.1f GiB\nGL: %s\n", machine.cores,
                machine.cpuModel.c_str(), machine.memoryGiB, gl.c_str());
    std::fflush(stdout);

    state.spriteTexture = MakeSpriteTexture(state.harness.env);
    state.uploadBitmap = PatternBitmap(kUploadSize);
    state.blurSource = std::make_unique<Texture>(state.harness.env);
    {
        auto bitmap = PatternBitmap(kBlurSourceSize);
        state.blurSource->init();
        state.blurSource->setupByBitmap_InRenderThread(bitmap.get(), true);
        state.blurSource->createRenderTexture();
    }

    RegisterFrames();
    RegisterUpdates();
    RegisterPartial();
    RegisterSwapFloor();
    RegisterHitTests();
    RegisterMemory();
    RegisterUploads();
    RegisterBlur();

    CollectingReporter reporter;
    reporter.onRun = OnRun;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    PrintTable(reporter, machine, gl, swapMin, swapMax);
    SaveResults(reporter);

    state.limit.clear();
    state.floor.clear();
    state.engine.clear();
    state.blurSource.reset();
    state.spriteTexture.reset();
    state.harness.close();
    return 0;
}
