// kesto_bench_calls: traces every GL and EGL call (through the generated stand-ins, which this
// executable exports in place of the libraries' functions) to check that the floor issues exactly
// the engine's per-mesh calls and draws the same pixels (as the limit and the batched engine
// must), that the upload comparison compares like with like, and that changing a blur level
// issues no GL call at all.
#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/CallCounting.h"
#include "bench/SpriteScenes.h"
#include "scene/BlurSprite.h"

namespace kesto::bench {

namespace {

thread_local std::vector<const char*>* t_trace = nullptr;

class Recording {
  public:
    explicit Recording(std::vector<const char*>* trace) { t_trace = trace; }
    ~Recording() { t_trace = nullptr; }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
};

}  // namespace

void* RealFunction(const char* name) {
    void* function = dlsym(RTLD_NEXT, name);
    if (function == nullptr) {
        std::fprintf(stderr, "kesto_bench_calls: no library defines %s\n", name);
    }
    return function;
}

void CountCall(const char* name) {
    if (t_trace != nullptr) {
        t_trace->push_back(name);
    }
}

namespace {

using Trace = std::vector<const char*>;

bool SameSequence(const Trace& a, const Trace& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::strcmp(a[i], b[i]) != 0) {
            return false;
        }
    }
    return true;
}

std::map<std::string, int> Tally(const Trace& trace) {
    std::map<std::string, int> tally;
    for (const char* name : trace) {
        ++tally[name];
    }
    return tally;
}

void PrintTallies(const Trace& engine, const Trace& other, const char* otherName) {
    const auto a = Tally(engine);
    const auto b = Tally(other);
    std::map<std::string, std::pair<int, int>> both;
    for (const auto& [name, count] : a) {
        both[name].first = count;
    }
    for (const auto& [name, count] : b) {
        both[name].second = count;
    }
    std::printf("    %-28s %8s %8s\n", "call", "engine", otherName);
    for (const auto& [name, counts] : both) {
        std::printf("    %-28s %8d %8d%s\n", name.c_str(), counts.first, counts.second,
                    counts.first != counts.second ? "   <- differs" : "");
    }
}

struct FrameCheck {
    Trace engine;
    Trace floor;
    long pixelsDiffering = 0;
    long pixelsDrawn = 0;  // engine pixels not of the background colour
    PixelDifference limitFromFloor;
    PixelDifference batchedFromPerMesh;
};

// One frame of each, each right after a frame of its own so that both are in the steady state
// (the back buffer cleared by the previous present); pixels read back between render and present.
// The limit and the batched engine are only compared by pixels: their calls differ by design.
FrameCheck CheckFrame(Harness& harness, Texture* texture, int count) {
    FrameCheck check;
    Window* window = harness.window.get();
    EngineSprites sprites(harness.env, texture, MakeLayout(count));
    sprites.show(window);
    for (int i = 0; i < 2; ++i) {
        window->render();
        window->present();
    }
    FloorSprites floor(harness, sprites);
    for (int i = 0; i < 2; ++i) {
        floor.render();
        floor.present();
    }
    window->render();
    window->present();
    {
        Recording recording(&check.engine);
        window->render();
    }
    const std::vector<uint8_t> enginePixels = ReadWindow();
    {
        Recording recording(&check.engine);
        window->present();
    }
    floor.render();
    floor.present();
    {
        Recording recording(&check.floor);
        floor.render();
    }
    const std::vector<uint8_t> floorPixels = ReadWindow();
    {
        Recording recording(&check.floor);
        floor.present();
    }
    check.pixelsDiffering = ComparePixels(enginePixels, floorPixels).pixels;
    std::vector<uint8_t> background(enginePixels.size());
    for (size_t i = 0; i < background.size(); i += 4) {
        for (int c = 0; c < 4; ++c) {
            background[i + c] = static_cast<uint8_t>(std::lround(kClearColor[c] * 255));
        }
    }
    check.pixelsDrawn = ComparePixels(enginePixels, background).pixels;

    LimitSprites limit(harness, sprites);
    limit.bind();
    limit.render();
    check.limitFromFloor = ComparePixels(ReadWindow(), floorPixels);
    limit.present();
    limit.unbind();
    {
        BatchingScope batched(window, true);
        window->render();
        window->present();
        window->render();
        check.batchedFromPerMesh = ComparePixels(ReadWindow(), enginePixels);
        window->present();
    }
    return check;
}

// The very first frame of new sprites and a texture with a pending bitmap: per mesh, the vertices
// are uploaded before the texture is realised. Both sides clear (more than 100 ms since the last
// present, and the floor has none).
FrameCheck CheckFirstFrame(Harness& harness, int count) {
    FrameCheck check;
    Window* window = harness.window.get();
    std::unique_ptr<Texture> texture = MakeSpriteTexture(harness.env);
    EngineSprites sprites(harness.env, texture.get(), MakeLayout(count));
    sprites.show(window);
    const auto pause = [] {
        for (const uint32_t start = NowMillis(); NowMillis() < start + 150u;) {
        }
    };
    pause();
    {
        Recording recording(&check.engine);
        window->render();
    }
    const std::vector<uint8_t> enginePixels = ReadWindow();
    window->present();
    FloorSprites floor(harness, sprites, true);
    pause();
    {
        Recording recording(&check.floor);
        floor.render();
    }
    check.pixelsDiffering = ComparePixels(enginePixels, ReadWindow()).pixels;
    floor.present();
    return check;
}

}  // namespace

}  // namespace kesto::bench

int main(int argc, char** argv) {
    using namespace kesto;
    using namespace kesto::bench;
    Options options = ParseOptions(&argc, argv);
    Harness harness;
    if (const char* failure = harness.open()) {
        std::fprintf(stderr, "kesto_bench_calls: %s\n", failure);
        return 1;
    }
    // The floor reproduces the per-mesh sequence; batching is only switched on to compare pixels.
    harness.window->setBatching(false);
    Results results;
    bool allSame = true;
    std::unique_ptr<Texture> texture = MakeSpriteTexture(harness.env);

    std::printf("== GL and EGL calls: engine frame against the floor ==\n");
    {
        const FrameCheck one = CheckFrame(harness, texture.get(), 1);
        std::printf("  one sprite, engine frame (render, then present):\n   ");
        for (const char* name : one.engine) {
            std::printf(" %s", name);
        }
        std::printf("\n");
    }
    {
        const FrameCheck first = CheckFirstFrame(harness, 100);
        const bool same = SameSequence(first.engine, first.floor);
        allSame &= same;
        std::printf(
            "  first frame, N = 100 (vertex and texture uploads): engine %zu calls, floor %zu "
            "calls, %s; %ld pixels differ\n",
            first.engine.size(), first.floor.size(), same ? "same sequence" : "DIFFERENT sequence",
            first.pixelsDiffering);
        if (!same) {
            PrintTallies(first.engine, first.floor, "floor");
        }
        results.set("calls.first_frame.100.engine", static_cast<double>(first.engine.size()));
        results.set("calls.first_frame.100.floor", static_cast<double>(first.floor.size()));
        results.set("calls.first_frame.100.same_sequence", same ? 1 : 0);
        results.set("calls.first_frame.100.pixels_differing",
                    static_cast<double>(first.pixelsDiffering));
    }
    std::map<int, size_t> engineTotals;
    for (int count : {100, 1000}) {
        const FrameCheck check = CheckFrame(harness, texture.get(), count);
        const bool same = SameSequence(check.engine, check.floor);
        allSame &= same;
        std::printf(
            "  N = %d: engine %zu calls, floor %zu calls, %s; of %ld pixels drawn, %ld differ\n",
            count, check.engine.size(), check.floor.size(),
            same ? "same sequence" : "DIFFERENT sequence", check.pixelsDrawn,
            check.pixelsDiffering);
        if (!same || count == 100) {
            PrintTallies(check.engine, check.floor, "floor");
        }
        results.set(Format("calls.frame.%d.engine", count),
                    static_cast<double>(check.engine.size()));
        results.set(Format("calls.frame.%d.floor", count), static_cast<double>(check.floor.size()));
        results.set(Format("calls.frame.%d.same_sequence", count), same ? 1 : 0);
        results.set(Format("calls.frame.%d.pixels_differing", count),
                    static_cast<double>(check.pixelsDiffering));
        results.set(Format("calls.frame.%d.pixels_drawn", count),
                    static_cast<double>(check.pixelsDrawn));
        std::printf(
            "    limit vs floor: %ld pixels differ (max channel diff %d); batched vs "
            "per-mesh engine: %ld differ (max channel diff %d)\n",
            check.limitFromFloor.pixels, check.limitFromFloor.maxChannel,
            check.batchedFromPerMesh.pixels, check.batchedFromPerMesh.maxChannel);
        results.set(Format("calls.frame.%d.limit_pixels_differing", count),
                    static_cast<double>(check.limitFromFloor.pixels));
        results.set(Format("calls.frame.%d.limit_max_channel_diff", count),
                    check.limitFromFloor.maxChannel);
        results.set(Format("calls.frame.%d.batched_pixels_differing", count),
                    static_cast<double>(check.batchedFromPerMesh.pixels));
        results.set(Format("calls.frame.%d.batched_max_channel_diff", count),
                    check.batchedFromPerMesh.maxChannel);
        engineTotals[count] = check.engine.size();
    }
    const double perSprite =
        (static_cast<double>(engineTotals[1000]) - static_cast<double>(engineTotals[100])) / 900.0;
    results.set("calls.frame.per_sprite", perSprite);
    std::printf("  calls a sprite: %.2f\n", perSprite);

    std::printf("== Upload: engine against glTexImage2D ==\n");
    {
        constexpr int kSize = 1024;
        Bitmap bitmap;
        bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, kSize, kSize);
        std::memset(bitmap.buffer, 0x7f, static_cast<size_t>(bitmap.bufferBytes));
        Texture upload(harness.env);
        upload.init();
        // A texture to replace, as in the timed loop.
        upload.setupByBitmap_InRenderThread(&bitmap, false);
        EngineUpload(&upload);
        upload.setupByBitmap_InRenderThread(&bitmap, false);
        Trace engine, plain;
        {
            Recording recording(&engine);
            EngineUpload(&upload);
        }
        GLuint name = 0;
        PlainUpload(&name, bitmap.buffer, kSize);
        {
            Recording recording(&plain);
            PlainUpload(&name, bitmap.buffer, kSize);
        }
        glDeleteTextures(1, &name);
        const bool same = SameSequence(engine, plain);
        allSame &= same;
        std::printf("  engine %zu calls, glTexImage2D path %zu calls, %s\n", engine.size(),
                    plain.size(), same ? "same sequence" : "DIFFERENT sequence");
        PrintTallies(engine, plain, "plain");
        results.set("calls.upload.engine", static_cast<double>(engine.size()));
        results.set("calls.upload.plain", static_cast<double>(plain.size()));
        results.set("calls.upload.same_sequence", same ? 1 : 0);
    }

    std::printf("== Blur level change and hit test: GL calls ==\n");
    {
        constexpr int kSize = 512;
        constexpr int kChanges = 1000;
        Bitmap bitmap;
        bitmap.allocateBitmap(PIXEL_FORMAT_RGBA8888, kSize, kSize);
        std::memset(bitmap.buffer, 0x40, static_cast<size_t>(bitmap.bufferBytes));
        Texture source(harness.env);
        source.init();
        source.setupByBitmap_InRenderThread(&bitmap, false);
        source.createRenderTexture();
        BlurSprite blur(harness.env);
        blur.init();
        Trace chain, changes;
        bool built;
        {
            Recording recording(&chain);
            built = blur.setTexture(harness.context, &source, 12.0f);
        }
        const float levels[2] = {4.5f, 7.5f};
        {
            Recording recording(&changes);
            for (int i = 0; i < kChanges; ++i) {
                blur.setBlurParameter(harness.context, levels[i % 2]);
            }
        }
        std::printf("  blur chain (setTexture %s): %zu calls; %d level changes: %zu calls\n",
                    built ? "succeeded" : "FAILED", chain.size(), kChanges, changes.size());
        results.set("calls.blur_chain", static_cast<double>(chain.size()));
        results.set("calls.blur_level_change.per_call",
                    static_cast<double>(changes.size()) / kChanges);
    }
    {
        constexpr int kQueries = 100;
        EngineSprites sprites(harness.env, texture.get(), MakeLayout(1000));
        sprites.show(harness.window.get());
        harness.window->render();
        harness.window->present();
        Trace queries, updates;
        {
            Recording recording(&queries);
            Vector position, normal, direction;
            for (int i = 0; i < kQueries; ++i) {
                harness.window->hitTest(i * 10, 300, &position, &normal, &direction);
            }
        }
        {
            Recording recording(&updates);
            for (auto& sprite : sprites.sprites) {
                sprite->setPosition(Vector(1.0f, 2.0f, 0.0f));
            }
        }
        std::printf(
            "  %d hit tests over 1000 sprites: %zu calls; 1000 position changes: %zu calls\n",
            kQueries, queries.size(), updates.size());
        results.set("calls.hit_test", static_cast<double>(queries.size()));
        results.set("calls.set_position", static_cast<double>(updates.size()));
        // With partial redraw, a frame in which nothing changed draws and swaps nothing.
        constexpr int kIdleFrames = 1000;
        harness.window->setPartialRedraw(true);
        harness.window->render();
        harness.window->present();
        Trace idle;
        {
            Recording recording(&idle);
            for (int i = 0; i < kIdleFrames; ++i) {
                harness.window->render();
                harness.window->present();
            }
        }
        harness.window->setPartialRedraw(false);
        std::printf("  %d unchanged frames with partial redraw: %zu calls\n", kIdleFrames,
                    idle.size());
        results.set("calls.idle_frames", static_cast<double>(idle.size()));
    }

    texture.reset();
    harness.close();
    if (!options.results.empty()) {
        results.save(options.results);
    }
    std::printf("call check: %s\n",
                allSame ? "floor and upload reference match the engine" : "MISMATCH (see above)");
    return 0;
}
