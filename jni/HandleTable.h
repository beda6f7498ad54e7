// Handles for engine objects crossing the Java boundary. A jint cannot hold a 64-bit address, so
// objects are registered here and Java holds their handles: positive, non-zero multiples of 4
// (the "texture handle + 1" tag of Bitmap_Set stays unambiguous), each carrying the slot's
// generation so that a stale handle is refused rather than aliased to a newer object. A freed slot
// rests in quarantine behind kQuarantine others before it is reused, so a destroyed handle stays
// refused for at least kQuarantine << kGenerationBits (over a million) create/destroy cycles,
// however few objects are alive.
//
// Lookups run on render and producer threads without a lock; registering and releasing take a
// mutex. Slots live in pages that are never freed, so a lookup never touches freed memory.
#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace kesto {

class BlurSprite;
class Bitmap;
class Camera;
class Context;
class Environment;
class NativeBitmap;
class Scene;
class SceneNode;
class Scissor;
class Sprite;
class Texture;
class Viewport;
class Window;

namespace jni {

enum class Kind : uint8_t {
    NONE = 0,
    ENVIRONMENT,
    CONTEXT,
    WINDOW,
    VIEWPORT,
    SCENE,
    SCENE_NODE,
    CAMERA,
    SPRITE,
    BLUR_SPRITE,
    SCISSOR,
    BITMAP,
    TEXTURE,
    NATIVE_BITMAP,
};

const char* KindName(Kind kind);

// Which kinds a lookup for T accepts, and the pointer type the table stores for them: every node
// kind is stored as a SceneNode*, so a node handle of any kind serves a SceneNode lookup.
template <class T>
struct HandleType;
#define KESTO_HANDLE_TYPE(T, StoredType, ...)     \
    template <>                                   \
    struct HandleType<T> {                        \
        using Stored = StoredType;                \
        static bool Accepts(Kind kind) {          \
            for (Kind accepted : {__VA_ARGS__}) { \
                if (kind == accepted)             \
                    return true;                  \
            }                                     \
            return false;                         \
        }                                         \
    }
KESTO_HANDLE_TYPE(Environment, Environment, Kind::ENVIRONMENT);
KESTO_HANDLE_TYPE(Context, Context, Kind::CONTEXT);
KESTO_HANDLE_TYPE(Window, Window, Kind::WINDOW);
KESTO_HANDLE_TYPE(Viewport, Viewport, Kind::VIEWPORT);
KESTO_HANDLE_TYPE(Scene, Scene, Kind::SCENE);
KESTO_HANDLE_TYPE(SceneNode, SceneNode, Kind::SCENE_NODE, Kind::CAMERA, Kind::SPRITE,
                  Kind::BLUR_SPRITE, Kind::SCISSOR);
KESTO_HANDLE_TYPE(Camera, SceneNode, Kind::CAMERA);
KESTO_HANDLE_TYPE(Sprite, SceneNode, Kind::SPRITE, Kind::BLUR_SPRITE);
KESTO_HANDLE_TYPE(BlurSprite, SceneNode, Kind::BLUR_SPRITE);
KESTO_HANDLE_TYPE(Scissor, SceneNode, Kind::SCISSOR);
KESTO_HANDLE_TYPE(Bitmap, Bitmap, Kind::BITMAP);
KESTO_HANDLE_TYPE(Texture, Texture, Kind::TEXTURE);
KESTO_HANDLE_TYPE(NativeBitmap, NativeBitmap, Kind::NATIVE_BITMAP);
#undef KESTO_HANDLE_TYPE

class HandleTable {
  public:
    enum class Status { FOUND, NONE, UNKNOWN, WRONG_KIND, BUSY };

    static constexpr int kIndexBits = 20;
    static constexpr int kGenerationBits = 9;
    static constexpr int kPageBits = 10;
    static constexpr int kPageSize = 1 << kPageBits;
    static constexpr int kPageCount = 1 << (kIndexBits - kPageBits);
    static constexpr size_t kQuarantine = 2048;

    // 0 when the table is full. `owner` is the environment handle the object belongs to, or 0.
    jint add(void* object, Kind kind, bool embedded, jint owner = 0);
    // Releases a handle and the embedded handles recorded for it.
    void remove(jint handle);
    // An owner's embedded objects (a window's viewport, a scene's root node and camera).
    void setEmbedded(jint owner, int slot, jint embedded);
    jint embedded(jint owner, int slot) const;

    // `accepts` decides on the kind; `kind` receives the slot's kind whatever the status, and
    // `embedded` whether the object belongs to another one.
    Status find(jint handle, bool (*accepts)(Kind), void** object, Kind* kind,
                bool* embedded) const;
    // Exclusive use of a live object by one call at a time. FOUND with a token for release();
    // UNKNOWN when the handle is not live; BUSY when another call holds it and `wait` is false
    // (with `wait`, the caller yields until it is free).
    Status hold(jint handle, bool wait, uint32_t* token);
    void release(uint32_t token);
    // The live, not embedded handles belonging to `owner`, with their kinds.
    std::vector<std::pair<jint, Kind>> ownedBy(jint owner);
    // Number of live handles, embedded ones included.
    int32_t liveCount() const { return live_.load(std::memory_order_relaxed); }

  private:
    struct Slot {
        std::atomic<void*> object{nullptr};
        // Kind in bits 0-7 (0: free), embedded flag in bit 8, generation from bit 9.
        std::atomic<uint32_t> tag{0};
        std::atomic<jint> embedded[2] = {};
        std::atomic<jint> owner{0};
        std::atomic<uint32_t> held{0};
    };

    Slot* slotAt(uint32_t index) const;
    const Slot* slotOf(jint handle, uint32_t* tag) const;

    std::atomic<Slot*> pages_[kPageCount] = {};
    std::atomic<int32_t> live_{0};

    // Registration state. Freed slots are reused oldest first, and only once kQuarantine others
    // wait behind them.
    Mutex lock_;
    std::deque<uint32_t> freeSlots_;
    uint32_t nextFresh_ = 0;

  public:
    HandleTable() = default;
    ~HandleTable();
    HandleTable(const HandleTable&) = delete;
    HandleTable& operator=(const HandleTable&) = delete;
};

HandleTable& Handles();

}  // namespace jni
}  // namespace kesto
