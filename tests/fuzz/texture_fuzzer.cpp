// Texture without GL: init and deinit, the three ways pixels are staged (queued from any thread, on
// the render thread, as a native bitmap), the hand-over ring seen from both ends, the info slots
// and their packed sizes, the power-of-two rounding and the texture transform. The harness plays
// the render thread: it takes staged bitmaps the way createRenderTexture does, but never uploads.
// No call here reaches GL: renderTextureHandle stays 0 throughout, which is checked.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "core/Accounting.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "tests/fuzz/BitmapModel.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {
namespace {

constexpr int kBitmaps = 3;
constexpr int kNatives = 2;
constexpr int kTextures = 2;
constexpr int32_t kMaximumDimension = 0xFFFF;

struct TextureModel {
    bool inited = false;
    std::deque<BitmapModel> queue;  // oldest first
    int32_t pushes = 0;             // since init
    int32_t pops = 0;
    BitmapModel renderThread;
    bool renderThreadValid = false;
    BitmapModel native;
    bool nativeValid = false;
    int32_t info[3] = {0, 0, 0};
    bool hasTransform = false;
    float transform[16] = {};

    void record(int32_t width, int32_t height) {
        const int32_t packed = static_cast<int32_t>((static_cast<uint32_t>(width) << 16) |
                                                    static_cast<uint32_t>(height));
        info[Texture::INFO_RESERVED] = 0;
        info[Texture::INFO_TEXTURE_SIZE] = packed;
        info[Texture::INFO_CONTENT_SIZE] = packed;
    }

    void deinit() {
        inited = false;
        queue.clear();
        pushes = pops = 0;
        renderThread = EmptyModel();
        renderThreadValid = false;
        native = EmptyModel();
        nativeValid = false;
        hasTransform = false;
    }
};

bool Fits(const BitmapModel& m) {
    return m.width <= kMaximumDimension && m.height <= kMaximumDimension;
}

struct Counters {
    int32_t values[9];

    static Counters Now() {
        return Counters{{Bitmap::BitmapBytes.load(), g_newArrayCount.load(),
                         NativeBitmap::BitmapBytes.load(), g_newNBmpArrayCount.load(),
                         Bitmap::BitmapCount.load(), NativeBitmap::BitmapCount.load(),
                         g_newCount.load(), Texture::GLTexturesCount.load(),
                         Texture::GLTexturesBytes.load()}};
    }
};

class Harness {
  public:
    explicit Harness(Reader& in) : in_(in), base_(Counters::Now()) {
        for (auto& texture : textures_) {
            texture = std::make_unique<Texture>(nullptr);
        }
    }

    void step() {
        switch (in_.u8() % 17) {
            case 0:
                onBitmap([&](Bitmap& b, BitmapModel& m) { allocate(b, m); });
                break;
            case 1:
                onBitmap([&](Bitmap& b, BitmapModel& m) { set(b, m); });
                break;
            case 2:
                onNative([&](NativeBitmap& b, BitmapModel& m) { allocate(b, m); });
                break;
            case 3:
                onNative([&](NativeBitmap& b, BitmapModel& m) {
                    if (in_.u8() & 1) {
                        set(b, m);
                    } else {
                        referToExternal(b, m);
                    }
                });
                break;
            case 4:
                if (in_.u8() & 1) {
                    onBitmap([&](Bitmap& b, BitmapModel& m) {
                        b.free();
                        m = EmptyModel();
                    });
                } else {
                    onNative([&](NativeBitmap& b, BitmapModel& m) {
                        b.free();
                        m = EmptyModel();
                    });
                }
                break;
            case 5:
                onTexture([&](Texture& t, TextureModel& m) {
                    const bool expected = !m.inited;
                    if (m.inited) {
                        m.deinit();
                    } else {
                        m.inited = true;
                    }
                    FUZZ_CHECK(t.init() == expected);
                });
                break;
            case 6:
                onTexture([&](Texture& t, TextureModel& m) {
                    t.deinit();
                    m.deinit();
                });
                break;
            case 7:
                onTexture([&](Texture& t, TextureModel& m) { setupByBitmap(t, m); });
                break;
            case 8:
                onTexture([&](Texture& t, TextureModel& m) { setupInRenderThread(t, m); });
                break;
            case 9:
                onTexture([&](Texture& t, TextureModel& m) { setupByNative(t, m); });
                break;
            case 10:
                onTexture([&](Texture& t, TextureModel& m) { takeAll(t, m); });
                break;
            case 11:
                onTexture([&](Texture& t, TextureModel& m) { popOne(t, m); });
                break;
            case 12:
                onTexture([&](Texture& t, TextureModel& m) { misuseQueue(t, m); });
                break;
            case 13:
                onTexture([&](Texture& t, TextureModel& m) {
                    // As Texture_RecordInfo does for Java.
                    const int index = in_.u8() % 3;
                    int32_t value = in_.i32();
                    if (in_.u8() & 1) {
                        const uint32_t width = static_cast<uint16_t>(Dimension(in_));
                        value = static_cast<int32_t>((width << 16) |
                                                     static_cast<uint16_t>(Dimension(in_)));
                    }
                    t.info[index] = value;
                    m.info[index] = value;
                });
                break;
            case 14:
                powerOfTwo();
                break;
            case 15:
                onTexture([&](Texture& t, TextureModel& m) {
                    float v[16];
                    for (float& f : v) {
                        f = in_.f32();
                    }
                    t.setTextureTransform(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8],
                                          v[9], v[10], v[11], v[12], v[13], v[14], v[15]);
                    m.hasTransform = true;
                    std::memcpy(m.transform, v, sizeof v);
                });
                break;
            default:
                // Without a handle there is nothing to delete: no GL call.
                onTexture([&](Texture& t, TextureModel&) { t.destroyRenderTexture(); });
                break;
        }
        checkAll();
    }

    void end() {
        for (auto& texture : textures_) {
            texture.reset();
        }
    }

  private:
    template <class F>
    void onBitmap(F f) {
        const int i = in_.u8() % kBitmaps;
        f(bitmaps_[i], bitmapModels_[i]);
    }

    template <class F>
    void onNative(F f) {
        const int i = in_.u8() % kNatives;
        f(natives_[i], nativeModels_[i]);
    }

    template <class F>
    void onTexture(F f) {
        const int i = in_.u8() % kTextures;
        f(*textures_[i], models_[i]);
    }

    template <class B>
    void allocate(B& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        DoAllocate(b, m, format, width, height, in_.u8());
    }

    template <class B>
    void set(B& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        int64_t length = ModelBufferBytes(format, width, height);
        if (length < 0 || length > kMaxBufferBytes || (in_.u8() & 3) == 0) {
            length = in_.u16() % 512;
        }
        std::unique_ptr<uint8_t[]> source(new uint8_t[length]);
        const size_t got = in_.take(source.get(), static_cast<size_t>(length));
        std::memset(source.get() + got, 0x5A, static_cast<size_t>(length) - got);
        DoSet(b, m, format, width, height, source.get(), static_cast<int32_t>(length));
    }

    // A harness-owned buffer of exactly the expected size, so that the call succeeds.
    void referToExternal(NativeBitmap& b, BitmapModel& m) {
        const int32_t format = Format(in_);
        const int32_t width = Dimension(in_);
        const int32_t height = Dimension(in_);
        const int64_t bytes = ModelBufferBytes(format, width, height);
        if (width < 1 || height < 1 || bytes < 0 || bytes > kMaxBufferBytes ||
            externals_.size() >= 8) {
            return;
        }
        std::unique_ptr<uint8_t[]> memory(new uint8_t[bytes]);
        auto content = std::make_shared<Bytes>(static_cast<size_t>(bytes));
        in_.take(content->data(), content->size());
        if (bytes > 0) {
            std::memcpy(memory.get(), content->data(), content->size());
        }
        FUZZ_CHECK(b.referToExternalBitmap(format, width, height, memory.get(),
                                           static_cast<int32_t>(bytes)));
        m = EmptyModel();
        m.pixelFormat = format;
        m.width = width;
        m.height = height;
        m.scanlineBytes = static_cast<int32_t>(ModelScanline(format, width));
        m.bufferBytes = static_cast<int32_t>(bytes);
        m.hasBuffer = true;
        m.external = true;
        m.externalBuffer = memory.get();
        m.content = content;
        externals_.push_back(std::move(memory));
    }

    void setupByBitmap(Texture& t, TextureModel& m) {
        const int i = in_.u8() % (kBitmaps + 1);
        const bool swap = in_.u8() & 1;
        Bitmap* bitmap = i < kBitmaps ? &bitmaps_[i] : nullptr;
        bool expected = false;
        if (bitmap != nullptr && Fits(bitmapModels_[i]) && m.inited && m.queue.size() < 2) {
            // The ring's free item is empty: whatever was taken from it was freed.
            BitmapModel value;
            if (swap) {
                std::swap(value, bitmapModels_[i]);
            } else {
                ModelCopy(value, bitmapModels_[i]);
            }
            m.record(value.width, value.height);
            m.queue.push_back(std::move(value));
            ++m.pushes;
            expected = true;
        }
        FUZZ_CHECK(t.setupByBitmap(bitmap, swap) == expected);
    }

    void setupInRenderThread(Texture& t, TextureModel& m) {
        const int i = in_.u8() % (kBitmaps + 1);
        const bool swap = in_.u8() & 1;
        Bitmap* bitmap = i < kBitmaps ? &bitmaps_[i] : nullptr;
        bool expected = false;
        if (bitmap != nullptr && Fits(bitmapModels_[i])) {
            if (swap) {
                std::swap(m.renderThread, bitmapModels_[i]);
            } else {
                ModelCopy(m.renderThread, bitmapModels_[i]);
            }
            m.record(m.renderThread.width, m.renderThread.height);
            m.renderThreadValid = true;
            expected = true;
        }
        FUZZ_CHECK(t.setupByBitmap_InRenderThread(bitmap, swap) == expected);
    }

    void setupByNative(Texture& t, TextureModel& m) {
        const int i = in_.u8() % (kNatives + 1);
        const bool swap = in_.u8() & 1;
        NativeBitmap* bitmap = i < kNatives ? &natives_[i] : nullptr;
        bool expected = false;
        if (bitmap != nullptr && Fits(nativeModels_[i])) {
            if (swap) {
                std::swap(m.native, nativeModels_[i]);
            } else {
                ModelCopy(m.native, nativeModels_[i]);
            }
            m.record(m.native.width, m.native.height);
            m.nativeValid = true;
            expected = true;
        }
        FUZZ_CHECK(t.setupByNativeBitmap(bitmap, swap) == expected);
    }

    // One item taken off the ring and emptied, as the consumer does it.
    void popOne(Texture& t, TextureModel& m) {
        auto* item = t.inputBitmapsQueue.popBegin();
        FUZZ_CHECK((item != nullptr) == !m.queue.empty());
        if (item == nullptr) {
            return;
        }
        CheckBitmap(item->value, m.queue.front());
        item->value.free();
        t.inputBitmapsQueue.popEnd(item);
        m.queue.pop_front();
        ++m.pops;
    }

    // createRenderTexture up to the upload: drain the ring keeping the newest, then let the
    // render-thread bitmap and then the native bitmap take precedence.
    void takeAll(Texture& t, TextureModel& m) {
        auto& queue = t.inputBitmapsQueue;
        Bitmap queued;
        BitmapModel queuedModel;
        while (auto* item = queue.popBegin()) {
            FUZZ_CHECK(!m.queue.empty());
            CheckBitmap(item->value, m.queue.front());
            queued.swapBitmap(&item->value);
            item->value.free();
            queue.popEnd(item);
            queuedModel = std::move(m.queue.front());
            m.queue.pop_front();
            ++m.pops;
        }
        FUZZ_CHECK(m.queue.empty());
        if (t.inputBitmapInRenderThreadValid) {
            queued.swapBitmap(&t.inputBitmapInRenderThread);
            t.inputBitmapInRenderThread.free();
            t.inputBitmapInRenderThreadValid = false;
            std::swap(queuedModel, m.renderThread);
            m.renderThread = EmptyModel();
            m.renderThreadValid = false;
        }
        CheckBitmap(queued, queuedModel);
        if (t.inputNativeBitmapValid) {
            NativeBitmap native;
            native.swapBitmap(&t.inputNativeBitmap);
            t.inputNativeBitmap.free();
            t.inputNativeBitmapValid = false;
            CheckBitmap(native, m.native);
            m.native = EmptyModel();
            m.nativeValid = false;
        }
    }

    // Ends that do not match the ring's state are refused and change nothing; ending the right
    // item without filling it publishes it as it is (empty).
    void misuseQueue(Texture& t, TextureModel& m) {
        auto& queue = t.inputBitmapsQueue;
        if (!m.inited) {
            FUZZ_CHECK(queue.pushBegin() == nullptr);
            FUZZ_CHECK(queue.popBegin() == nullptr);
            return;
        }
        auto* pushItem = &queue.items[m.pushes % 2];
        auto* popItem = &queue.items[m.pops % 2];
        switch (in_.u8() % 4) {
            case 0:
                queue.pushEnd(&queue.items[1 - m.pushes % 2]);
                break;
            case 1:
                queue.popEnd(&queue.items[1 - m.pops % 2]);
                break;
            case 2:
                queue.pushEnd(pushItem);
                if (m.queue.size() < 2) {
                    m.queue.push_back(EmptyModel());
                    ++m.pushes;
                }
                break;
            default:
                queue.popEnd(popItem);
                if (!m.queue.empty()) {
                    // Released without being emptied: the value stays in the ring's free item,
                    // so take it out the way a consumer would have.
                    popItem->value.free();
                    m.queue.pop_front();
                    ++m.pops;
                }
                break;
        }
    }

    void powerOfTwo() {
        const int32_t n = Dimension(in_);
        int32_t expected = n <= 0 ? 0 : n;
        if (n > 0 && n <= 16384) {
            expected = 1;
            while (expected < n) {
                expected *= 2;
            }
        }
        FUZZ_CHECK(Texture::CalculateHigherOrEqualPowerOfTwoDimension(n) == expected);
    }

    void checkTexture(const Texture& t, const TextureModel& m, int64_t* bytes, int64_t* arrays,
                      int64_t* nativeBytes, int64_t* nativeArrays) {
        FUZZ_CHECK(t.renderTextureHandle == 0);
        FUZZ_CHECK(t.pixelFormat == 0 && t.textureBytes == 0 && !t.isOESTexture);
        for (int i = 0; i < 3; ++i) {
            FUZZ_CHECK(t.info[i].load() == m.info[i]);
        }
        const uint32_t size = static_cast<uint32_t>(m.info[Texture::INFO_TEXTURE_SIZE]);
        FUZZ_CHECK(t.textureWidth() == static_cast<int>(size >> 16));
        FUZZ_CHECK(t.textureHeight() == static_cast<int>(size & 0xFFFF));

        const auto& queue = t.inputBitmapsQueue;
        FUZZ_CHECK((queue.items != nullptr) == m.inited);
        if (m.inited) {
            ++*arrays;
            FUZZ_CHECK(queue.capacity == 2);
            FUZZ_CHECK(queue.pushIndex == m.pushes % 2 && queue.popIndex == m.pops % 2);
            for (int k = 0; k < 2; ++k) {
                const auto& item = queue.items[(m.pops + k) % 2];
                const bool pending = k < static_cast<int>(m.queue.size());
                FUZZ_CHECK(item.valid.load() == pending);
                const BitmapModel& expected = pending ? m.queue[k] : BitmapModel();
                CheckBitmap(item.value, expected);
                if (expected.owned()) {
                    *bytes += expected.bufferBytes;
                    ++*arrays;
                }
            }
        } else {
            FUZZ_CHECK(queue.capacity == 0 && queue.pushIndex == 0 && queue.popIndex == 0);
        }
        FUZZ_CHECK(t.inputBitmapInRenderThreadValid == m.renderThreadValid);
        CheckBitmap(t.inputBitmapInRenderThread, m.renderThread);
        if (m.renderThread.owned()) {
            *bytes += m.renderThread.bufferBytes;
            ++*arrays;
        }
        FUZZ_CHECK(t.inputNativeBitmapValid == m.nativeValid);
        CheckBitmap(t.inputNativeBitmap, m.native);
        if (m.native.owned()) {
            *nativeBytes += m.native.bufferBytes;
            ++*nativeArrays;
        }
        FUZZ_CHECK((t.textureTransform != nullptr) == m.hasTransform);
        if (m.hasTransform) {
            FUZZ_CHECK(std::memcmp(t.textureTransform->m, m.transform, sizeof m.transform) == 0);
        }
    }

    void checkAll() {
        int64_t bytes = 0, arrays = 0, nativeBytes = 0, nativeArrays = 0, objects = 0;
        int64_t bitmapObjects = kBitmaps;
        for (int i = 0; i < kBitmaps; ++i) {
            CheckBitmap(bitmaps_[i], bitmapModels_[i]);
            if (bitmapModels_[i].owned()) {
                bytes += bitmapModels_[i].bufferBytes;
                ++arrays;
            }
        }
        for (int i = 0; i < kNatives; ++i) {
            CheckBitmap(natives_[i], nativeModels_[i]);
            if (nativeModels_[i].owned()) {
                nativeBytes += nativeModels_[i].bufferBytes;
                ++nativeArrays;
            }
        }
        for (int i = 0; i < kTextures; ++i) {
            checkTexture(*textures_[i], models_[i], &bytes, &arrays, &nativeBytes, &nativeArrays);
            bitmapObjects += 1 + (models_[i].inited ? 2 : 0);
            objects += models_[i].hasTransform ? 1 : 0;
        }
        const Counters now = Counters::Now();
        const int64_t expected[] = {
            bytes, arrays, nativeBytes, nativeArrays, bitmapObjects, kNatives + kTextures, objects,
            0,     0};
        for (int i = 0; i < 9; ++i) {
            FUZZ_CHECK(now.values[i] - base_.values[i] == expected[i]);
        }
    }

    Reader& in_;
    const Counters base_;
    // Outlive every bitmap and texture that may wrap them.
    std::vector<std::unique_ptr<uint8_t[]>> externals_;
    Bitmap bitmaps_[kBitmaps];
    BitmapModel bitmapModels_[kBitmaps];
    NativeBitmap natives_[kNatives];
    BitmapModel nativeModels_[kNatives];
    std::unique_ptr<Texture> textures_[kTextures];
    TextureModel models_[kTextures];
};

}  // namespace
}  // namespace fuzz
}  // namespace kesto

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kesto;
    const fuzz::Counters before = fuzz::Counters::Now();
    {
        fuzz::Reader in(data, size);
        fuzz::Harness harness(in);
        for (int steps = 0; steps < 256 && !in.done(); ++steps) {
            harness.step();
        }
        harness.end();
    }
    const fuzz::Counters after = fuzz::Counters::Now();
    FUZZ_CHECK(std::memcmp(&before, &after, sizeof before) == 0);
    return 0;
}
