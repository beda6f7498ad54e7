// kesto_bench_sdl: the peer. The frame benchmark's scene drawn with SDL2's GLES2 renderer in a
// window of the same size on the same X server, in a process of its own so that two GL stacks do
// not share one. Writes its medians for kesto_bench's summary.
#include <SDL.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"

namespace kesto::bench {
namespace {

struct Peer {
    SDL_Window* window = nullptr;
    SDL_Renderer* renderer = nullptr;
    SDL_Texture* texture = nullptr;
    int batched = -1;  // how the current renderer was made; -1: none yet
    std::string rendererName;
    std::string glDescription;
    int swapInterval = 0;
    bool vsyncFlag = false;
};

Peer* g = nullptr;

void DestroyRenderer() {
    if (g->texture != nullptr) {
        SDL_DestroyTexture(g->texture);
        g->texture = nullptr;
    }
    if (g->renderer != nullptr) {
        SDL_DestroyRenderer(g->renderer);
        g->renderer = nullptr;
    }
    g->batched = -1;
}

// SDL reads the batching hint when it makes a renderer, so switching means a new renderer.
const char* UseRenderer(bool batched) {
    if (g->batched == (batched ? 1 : 0)) {
        return nullptr;
    }
    DestroyRenderer();
    SDL_SetHint(SDL_HINT_RENDER_BATCHING, batched ? "1" : "0");
    g->renderer = SDL_CreateRenderer(g->window, -1, SDL_RENDERER_ACCELERATED);
    if (g->renderer == nullptr) {
        return SDL_GetError();
    }
    SDL_RendererInfo info{};
    SDL_GetRendererInfo(g->renderer, &info);
    g->rendererName = info.name != nullptr ? info.name : "?";
    g->vsyncFlag = (info.flags & SDL_RENDERER_PRESENTVSYNC) != 0;
    g->swapInterval = SDL_GL_GetSwapInterval();
    using GetString = const unsigned char* (*)(unsigned int);
    if (auto getString = reinterpret_cast<GetString>(SDL_GL_GetProcAddress("glGetString"))) {
        auto text = [&](unsigned int name) {
            const unsigned char* value = getString(name);
            return value != nullptr ? std::string(reinterpret_cast<const char*>(value)) : "?";
        };
        g->glDescription = text(0x1F01) + " | " + text(0x1F02);  // GL_RENDERER, GL_VERSION
    }
    const std::vector<uint32_t> pixels = MakePixels(kSpriteSize);
    // ABGR8888 is R, G, B, A in memory on a little-endian machine: the engine's RGBA8888.
    g->texture = SDL_CreateTexture(g->renderer, SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STATIC,
                                   kSpriteSize, kSpriteSize);
    if (g->texture == nullptr) {
        return SDL_GetError();
    }
    SDL_UpdateTexture(g->texture, nullptr, pixels.data(), kSpriteSize * 4);
    SDL_SetTextureBlendMode(g->texture, SDL_BLENDMODE_BLEND);
    SDL_SetTextureAlphaMod(g->texture, kSpriteAlpha);
    // The engine samples linearly.
    SDL_SetTextureScaleMode(g->texture, SDL_ScaleModeLinear);
    g->batched = batched ? 1 : 0;
    return nullptr;
}

void Frame(const std::vector<SDL_Rect>& rects, const std::vector<double>& angles) {
    SDL_SetRenderDrawColor(g->renderer, static_cast<Uint8>(kClearColor[0] * 255),
                           static_cast<Uint8>(kClearColor[1] * 255),
                           static_cast<Uint8>(kClearColor[2] * 255),
                           static_cast<Uint8>(kClearColor[3] * 255));
    SDL_RenderClear(g->renderer);
    for (size_t i = 0; i < rects.size(); ++i) {
        SDL_RenderCopyEx(g->renderer, g->texture, nullptr, &rects[i], angles[i], nullptr,
                         SDL_FLIP_NONE);
    }
    SDL_RenderPresent(g->renderer);
}

std::string Name(bool batched, int count, int round) {
    return RoundName(Format("frame/%s/%d", batched ? "sdl" : "sdl_unbatched", count), round);
}

}  // namespace
}  // namespace kesto::bench

int main(int argc, char** argv) {
    using namespace kesto::bench;
    Options options = ParseOptions(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    // EGL, as the engine uses, rather than GLX; the GLES2 renderer; no vertical sync.
    SDL_SetHint(SDL_HINT_VIDEO_X11_FORCE_EGL, "1");
    SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengles2");
    SDL_SetHint(SDL_HINT_RENDER_VSYNC, "0");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::fprintf(stderr, "kesto_bench_sdl: %s\n", SDL_GetError());
        return 1;
    }
    Peer peer;
    g = &peer;
    peer.window =
        SDL_CreateWindow("kesto bench peer", 0, 0, kWindowWidth, kWindowHeight, SDL_WINDOW_SHOWN);
    if (peer.window == nullptr) {
        std::fprintf(stderr, "kesto_bench_sdl: %s\n", SDL_GetError());
        return 1;
    }
    if (const char* failure = UseRenderer(true)) {
        std::fprintf(stderr, "kesto_bench_sdl: %s\n", failure);
        return 1;
    }
    SDL_version version;
    SDL_GetVersion(&version);
    std::printf("SDL %d.%d.%d, renderer %s, swap interval %d, GL %s\n", version.major,
                version.minor, version.patch, peer.rendererName.c_str(), peer.swapInterval,
                peer.glDescription.c_str());
    std::fflush(stdout);

    for (int round = 1; round <= options.rounds; ++round) {
        for (int count : kSpriteCounts) {
            for (const bool batched : {true, false}) {
                benchmark::RegisterBenchmark(
                    Name(batched, count, round).c_str(),
                    [count, batched](benchmark::State& state) {
                        if (const char* failure = UseRenderer(batched)) {
                            state.SkipWithError(failure);
                            return;
                        }
                        std::vector<SDL_Rect> rects;
                        std::vector<double> angles;
                        for (const Placement& p : MakeLayout(count)) {
                            rects.push_back(SDL_Rect{static_cast<int>(std::lround(p.x)) - 8,
                                                     static_cast<int>(std::lround(p.y)) - 8,
                                                     kSpriteSize, kSpriteSize});
                            angles.push_back(p.angle);
                        }
                        Frame(rects, angles);
                        for (auto _ : state) {
                            Frame(rects, angles);
                        }
                    })
                    ->MinTime(options.minTime)
                    ->MeasureProcessCPUTime()
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    const double peakMiB = PeakResidentMiB();

    Results results;
    results.setText("peer.version",
                    Format("SDL %d.%d.%d", version.major, version.minor, version.patch));
    results.setText("peer.renderer", peer.rendererName);
    results.setText("peer.gl", peer.glDescription);
    results.set("peer.swap_interval", peer.swapInterval);
    results.set("peer.vsync_flag", peer.vsyncFlag ? 1 : 0);
    results.set("peer.maxrss_mib", peakMiB);
    std::printf("\nSDL2 medians over %d rounds:\n", options.rounds);
    for (int count : kSpriteCounts) {
        for (const bool batched : {true, false}) {
            const std::string prefix =
                Format("frame/%s/%d", batched ? "sdl" : "sdl_unbatched", count);
            const auto median = reporter.medianSeconds(prefix);
            const auto cpu = reporter.medianCpuSeconds(prefix);
            if (median && cpu) {
                const char* key = batched ? "peer" : "peer_unbatched";
                results.set(Format("%s.frame_ms.%d", key, count), *median * 1e3);
                results.set(Format("%s.frame_cpu_ms.%d", key, count), *cpu * 1e3);
                std::printf("  %-28s %.3f ms (process CPU %.3f ms)\n", prefix.c_str(),
                            *median * 1e3, *cpu * 1e3);
            }
        }
    }
    std::printf("  peak RSS %.1f MiB\n", peakMiB);
    if (!options.results.empty()) {
        results.save(options.results);
    }
    DestroyRenderer();
    SDL_DestroyWindow(peer.window);
    SDL_Quit();
    return 0;
}
