// Texture without GL: init and deinit, the three ways pixels are staged (queued from any thread, on
// the render thread, as a native bitmap), the hand-over ring seen from both ends, the info slots
// and their packed sizes, the power-of-two rounding and the texture transform. The harness plays
// the render thread: it takes staged bitmaps the way createRenderTexture does, but never uploads.
// No call here reaches GL: renderTextureHandle stays 0 throughout, which is checked.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "core/Accounting.h"
#include "image/Bitmap.h"
#include "image/NativeBitmap.h"
#include "image/Texture.h"
#include "tests/fuzz/BitmapDriver.h"
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

    // Only the info slots survive.
    void deinit() {
        TextureModel fresh;
        std::memcpy(fresh.info, info, sizeof info);
        *this = std::move(fresh);
    }
};

Counters TextureCounters() {
    Counters counters = BitmapCounters();
    counters.insert(counters.end(), {g_newCount.load(), Texture::GLTexturesCount.load(),
                                     Texture::GLTexturesBytes.load()});
    return counters;
}

class Harness {
  public:
    explicit Harness(Reader& in) : in_(in), driver_(in), base_(TextureCounters()) {
        for (auto& texture : textures_) {
            texture = std::make_unique<Texture>(nullptr);
        }
    }

    void step() {
        ops_[in_.u8() % ops_.size()]();
        checkAll();
    }

  private:
    using TextureOp = void (Harness::*)(Texture&, TextureModel&);

    void onTexture(TextureOp op) {
        const int i = in_.u8() % kTextures;
        (this->*op)(*textures_[i], models_[i]);
    }

    void init(Texture& t, TextureModel& m) {
        const bool expected = !m.inited;
        if (m.inited) {
            m.deinit();
        } else {
            m.inited = true;
        }
        FUZZ_CHECK(t.init() == expected);
    }

    void deinit(Texture& t, TextureModel& m) {
        t.deinit();
        m.deinit();
    }

    // The three staging calls take a pool bitmap or none, and whether to swap it in rather than
    // copy it. When the call is to succeed, `to` takes the bitmap's model.
    template <class B, int N, class Call>
    bool stage(TextureModel& m, Pool<B, N>& pool, bool ready, BitmapModel& to, Call call) {
        const int i = in_.u8() % (N + 1);
        const bool swap = in_.u8() & 1;
        B* bitmap = i < N ? &pool.bitmaps[i] : nullptr;
        const BitmapModel* model = i < N ? &pool.models[i] : nullptr;
        const bool expected = bitmap != nullptr && ready && model->width <= kMaximumDimension &&
                              model->height <= kMaximumDimension;
        if (expected) {
            if (swap) {
                std::swap(to, pool.models[i]);
            } else {
                ModelCopy(to, *model);
            }
            m.record(to.width, to.height);
        }
        FUZZ_CHECK(call(bitmap, swap) == expected);
        return expected;
    }

    void setupByBitmap(Texture& t, TextureModel& m) {
        // The ring's free item is empty: whatever was taken from it was freed.
        BitmapModel value;
        if (stage(m, bitmaps_, m.inited && m.queue.size() < 2, value,
                  [&](Bitmap* b, bool swap) { return t.setupByBitmap(b, swap); })) {
            m.queue.push_back(std::move(value));
            ++m.pushes;
        }
    }

    void setupInRenderThread(Texture& t, TextureModel& m) {
        m.renderThreadValid |= stage(m, bitmaps_, true, m.renderThread, [&](Bitmap* b, bool swap) {
            return t.setupByBitmap_InRenderThread(b, swap);
        });
    }

    void setupByNative(Texture& t, TextureModel& m) {
        m.nativeValid |= stage(m, natives_, true, m.native, [&](NativeBitmap* b, bool swap) {
            return t.setupByNativeBitmap(b, swap);
        });
    }

    // One item off the ring, as the consumer takes it: its bitmap moves to `into`, or is freed.
    bool pop(Texture& t, TextureModel& m, Bitmap* into, BitmapModel* intoModel) {
        auto& queue = t.inputBitmapsQueue;
        auto* item = queue.popBegin();
        FUZZ_CHECK((item != nullptr) == !m.queue.empty());
        if (item == nullptr) {
            return false;
        }
        CheckBitmap(item->value, m.queue.front());
        if (into != nullptr) {
            into->swapBitmap(&item->value);
            *intoModel = std::move(m.queue.front());
        }
        item->value.free();
        queue.popEnd(item);
        m.queue.pop_front();
        ++m.pops;
        return true;
    }

    void popOne(Texture& t, TextureModel& m) { pop(t, m, nullptr, nullptr); }

    // createRenderTexture up to the upload: drain the ring keeping the newest, then let the
    // render-thread bitmap and then the native bitmap take precedence.
    void takeAll(Texture& t, TextureModel& m) {
        Bitmap queued;
        BitmapModel queuedModel;
        while (pop(t, m, &queued, &queuedModel)) {
        }
        if (t.inputBitmapInRenderThreadValid) {
            queued.swapBitmap(&t.inputBitmapInRenderThread);
            t.inputBitmapInRenderThread.free();
            t.inputBitmapInRenderThreadValid = false;
            queuedModel = std::move(m.renderThread);
            m.renderThread = BitmapModel();
            m.renderThreadValid = false;
        }
        CheckBitmap(queued, queuedModel);
        if (t.inputNativeBitmapValid) {
            NativeBitmap native;
            native.swapBitmap(&t.inputNativeBitmap);
            t.inputNativeBitmap.free();
            t.inputNativeBitmapValid = false;
            CheckBitmap(native, m.native);
            m.native = BitmapModel();
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
                    m.queue.push_back(BitmapModel());
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

    // As Texture_RecordInfo does for Java.
    void recordInfo(Texture& t, TextureModel& m) {
        const int index = in_.u8() % 3;
        int32_t value = in_.i32();
        if (in_.u8() & 1) {
            const uint32_t width = static_cast<uint16_t>(Dimension(in_));
            value = static_cast<int32_t>((width << 16) | static_cast<uint16_t>(Dimension(in_)));
        }
        t.info[index] = value;
        m.info[index] = value;
    }

    void setTransform(Texture& t, TextureModel& m) {
        float v[16];
        for (float& f : v) {
            f = in_.f32();
        }
        t.setTextureTransform(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10],
                              v[11], v[12], v[13], v[14], v[15]);
        m.hasTransform = true;
        std::memcpy(m.transform, v, sizeof v);
    }

    // Without a handle there is nothing to delete: no GL call.
    void destroy(Texture& t, TextureModel&) { t.destroyRenderTexture(); }

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

    void checkTexture(const Texture& t, const TextureModel& m, Tally& bitmaps, Tally& natives) {
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
            ++bitmaps.arrays;
            FUZZ_CHECK(queue.capacity == 2);
            FUZZ_CHECK(queue.pushIndex == m.pushes % 2 && queue.popIndex == m.pops % 2);
            for (int k = 0; k < 2; ++k) {
                const auto& item = queue.items[(m.pops + k) % 2];
                const bool pending = k < static_cast<int>(m.queue.size());
                FUZZ_CHECK(item.valid.load() == pending);
                bitmaps.check(item.value, pending ? m.queue[k] : BitmapModel());
            }
        } else {
            FUZZ_CHECK(queue.capacity == 0 && queue.pushIndex == 0 && queue.popIndex == 0);
        }
        FUZZ_CHECK(t.inputBitmapInRenderThreadValid == m.renderThreadValid);
        bitmaps.check(t.inputBitmapInRenderThread, m.renderThread);
        FUZZ_CHECK(t.inputNativeBitmapValid == m.nativeValid);
        natives.check(t.inputNativeBitmap, m.native);
        FUZZ_CHECK((t.textureTransform != nullptr) == m.hasTransform);
        if (m.hasTransform) {
            FUZZ_CHECK(std::memcmp(t.textureTransform->m, m.transform, sizeof m.transform) == 0);
        }
    }

    void checkAll() {
        Tally bitmaps, natives;
        bitmaps_.check(bitmaps);
        natives_.check(natives);
        int64_t bitmapObjects = kBitmaps, objects = 0;
        for (int i = 0; i < kTextures; ++i) {
            checkTexture(*textures_[i], models_[i], bitmaps, natives);
            bitmapObjects += 1 + (models_[i].inited ? 2 : 0);
            objects += models_[i].hasTransform ? 1 : 0;
        }
        CheckCounters(base_, TextureCounters(),
                      {bitmaps.bytes, bitmaps.arrays, natives.bytes, natives.arrays, bitmapObjects,
                       kNatives + kTextures, objects, 0, 0});
    }

    Reader& in_;
    BitmapDriver driver_;
    const Counters base_;
    Pool<Bitmap, kBitmaps> bitmaps_;
    Pool<NativeBitmap, kNatives> natives_;
    // After the bitmaps: the textures go first, while whatever they wrap is still there.
    std::unique_ptr<Texture> textures_[kTextures];
    TextureModel models_[kTextures];
    // The input's encoding of the operations: seeds depend on their order.
    const std::vector<std::function<void()>> ops_ = {
        [this] { driver_.allocate(bitmaps_); },
        [this] { driver_.set(bitmaps_); },
        [this] { driver_.allocate(natives_); },
        [this] { in_.u8() & 1 ? driver_.set(natives_) : driver_.referToExternal(natives_); },
        [this] { in_.u8() & 1 ? driver_.free(bitmaps_) : driver_.free(natives_); },
        [this] { onTexture(&Harness::init); },
        [this] { onTexture(&Harness::deinit); },
        [this] { onTexture(&Harness::setupByBitmap); },
        [this] { onTexture(&Harness::setupInRenderThread); },
        [this] { onTexture(&Harness::setupByNative); },
        [this] { onTexture(&Harness::takeAll); },
        [this] { onTexture(&Harness::popOne); },
        [this] { onTexture(&Harness::misuseQueue); },
        [this] { onTexture(&Harness::recordInfo); },
        [this] { powerOfTwo(); },
        [this] { onTexture(&Harness::setTransform); },
        [this] { onTexture(&Harness::destroy); },
    };
};

}  // namespace
}  // namespace fuzz
}  // namespace kesto

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kesto::fuzz::RunBitmapHarness<kesto::fuzz::Harness>(data, size, kesto::fuzz::TextureCounters);
    return 0;
}
