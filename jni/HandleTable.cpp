#include "jni/HandleTable.h"

#include <new>
#include <thread>

namespace kesto::jni {

namespace {

constexpr uint32_t kKindMask = 0xFF;
constexpr uint32_t kEmbeddedBit = 1u << 8;
constexpr int kGenerationShift = 9;
constexpr uint32_t kIndexMask = (1u << HandleTable::kIndexBits) - 1;
constexpr uint32_t kGenerationMask = (1u << HandleTable::kGenerationBits) - 1;

uint32_t GenerationOf(uint32_t tag) {
    return tag >> kGenerationShift;
}
Kind KindOf(uint32_t tag) {
    return static_cast<Kind>(tag & kKindMask);
}

jint MakeHandle(uint32_t index, uint32_t generation) {
    const uint32_t value = (generation << HandleTable::kIndexBits) | (index + 1);
    return static_cast<jint>(value << 2);
}

}  // namespace

const char* KindName(Kind kind) {
    static const char* const kNames[] = {
        "none",   "environment", "context",     "window",  "viewport", "scene",   "scene node",
        "camera", "sprite",      "blur sprite", "scissor", "bitmap",   "texture", "native bitmap"};
    const size_t index = static_cast<size_t>(kind);
    return index < sizeof kNames / sizeof kNames[0] ? kNames[index] : "?";
}

HandleTable& Handles() {
    // Made on first use and kept for the process; lookups take no lock once it exists.
    static std::atomic<HandleTable*> table{nullptr};
    static Mutex making;
    HandleTable* made = table.load(std::memory_order_acquire);
    if (made == nullptr) {
        MutexGuard guard(making);
        made = table.load(std::memory_order_relaxed);
        if (made == nullptr) {
            made = new HandleTable();
            table.store(made, std::memory_order_release);
        }
    }
    return *made;
}

HandleTable::Slot* HandleTable::slotAt(uint32_t index) const {
    Slot* page = pages_[index >> kPageBits].load(std::memory_order_acquire);
    return page != nullptr ? &page[index & (kPageSize - 1)] : nullptr;
}

HandleTable::~HandleTable() {
    for (std::atomic<Slot*>& page : pages_) {
        delete[] page.load(std::memory_order_relaxed);
    }
}

jint HandleTable::add(void* object, Kind kind, bool embedded, jint owner) {
    MutexGuard guard(lock_);
    uint32_t index;
    // A full table still takes slots from quarantine.
    if (freeSlots_.size() > kQuarantine || (!freeSlots_.empty() && nextFresh_ > kIndexMask - 1)) {
        index = freeSlots_.front();
        freeSlots_.pop_front();
    } else {
        if (nextFresh_ > kIndexMask - 1) {
            return 0;
        }
        index = nextFresh_;
        std::atomic<Slot*>& page = pages_[index >> kPageBits];
        if (page.load(std::memory_order_relaxed) == nullptr) {
            Slot* fresh = new (std::nothrow) Slot[kPageSize];
            if (fresh == nullptr) {
                return 0;
            }
            page.store(fresh, std::memory_order_release);
        }
        ++nextFresh_;
    }
    Slot* slot = slotAt(index);
    const uint32_t generation = GenerationOf(slot->tag.load(std::memory_order_relaxed));
    slot->embedded[0].store(0, std::memory_order_relaxed);
    slot->embedded[1].store(0, std::memory_order_relaxed);
    slot->owner.store(owner, std::memory_order_relaxed);
    slot->object.store(object, std::memory_order_relaxed);
    slot->tag.store((generation << kGenerationShift) | (embedded ? kEmbeddedBit : 0) |
                        static_cast<uint32_t>(kind),
                    std::memory_order_release);
    live_.fetch_add(1, std::memory_order_relaxed);
    return MakeHandle(index, generation);
}

const HandleTable::Slot* HandleTable::slotOf(jint handle, uint32_t* tag) const {
    if (handle <= 0 || (handle & 3) != 0) {
        return nullptr;
    }
    const uint32_t value = static_cast<uint32_t>(handle) >> 2;
    const uint32_t position = value & kIndexMask;
    if (position == 0) {
        return nullptr;
    }
    const Slot* slot = slotAt(position - 1);
    if (slot == nullptr) {
        return nullptr;
    }
    *tag = slot->tag.load(std::memory_order_acquire);
    if (KindOf(*tag) == Kind::NONE ||
        GenerationOf(*tag) != ((value >> kIndexBits) & kGenerationMask)) {
        return nullptr;
    }
    return slot;
}

void HandleTable::remove(jint handle) {
    jint embeddedHandles[2] = {0, 0};
    {
        MutexGuard guard(lock_);
        uint32_t tag;
        Slot* slot = const_cast<Slot*>(slotOf(handle, &tag));
        if (slot == nullptr) {
            return;
        }
        embeddedHandles[0] = slot->embedded[0].load(std::memory_order_relaxed);
        embeddedHandles[1] = slot->embedded[1].load(std::memory_order_relaxed);
        const uint32_t next = (GenerationOf(tag) + 1) & kGenerationMask;
        slot->tag.store(next << kGenerationShift, std::memory_order_release);
        slot->object.store(nullptr, std::memory_order_relaxed);
        freeSlots_.push_back((static_cast<uint32_t>(handle) >> 2 & kIndexMask) - 1);
        live_.fetch_sub(1, std::memory_order_relaxed);
    }
    for (jint inner : embeddedHandles) {
        if (inner != 0) {
            remove(inner);
        }
    }
}

void HandleTable::setEmbedded(jint owner, int index, jint inner) {
    uint32_t tag;
    Slot* slot = const_cast<Slot*>(slotOf(owner, &tag));
    if (slot != nullptr && index >= 0 && index < 2) {
        slot->embedded[index].store(inner, std::memory_order_release);
    }
}

jint HandleTable::embedded(jint owner, int index) const {
    uint32_t tag;
    const Slot* slot = slotOf(owner, &tag);
    if (slot == nullptr || index < 0 || index >= 2) {
        return 0;
    }
    return slot->embedded[index].load(std::memory_order_acquire);
}

HandleTable::Status HandleTable::hold(jint handle, bool wait, uint32_t* token) {
    *token = 0;
    uint32_t tag;
    Slot* slot = const_cast<Slot*>(slotOf(handle, &tag));
    if (slot == nullptr) {
        return Status::UNKNOWN;
    }
    uint32_t expected = 0;
    while (!slot->held.compare_exchange_weak(expected, 1, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
        if (expected != 0 && !wait) {
            return Status::BUSY;
        }
        expected = 0;
        std::this_thread::yield();
    }
    // Released while we waited: whoever destroyed it held the slot until the handle was gone.
    if (slot->tag.load(std::memory_order_acquire) != tag) {
        slot->held.store(0, std::memory_order_release);
        return Status::UNKNOWN;
    }
    *token = static_cast<uint32_t>(handle) >> 2 & kIndexMask;
    return Status::FOUND;
}

void HandleTable::release(uint32_t token) {
    if (Slot* slot = token != 0 ? slotAt(token - 1) : nullptr) {
        slot->held.store(0, std::memory_order_release);
    }
}

std::vector<std::pair<jint, Kind>> HandleTable::ownedBy(jint owner) {
    std::vector<std::pair<jint, Kind>> owned;
    if (owner == 0) {
        return owned;
    }
    MutexGuard guard(lock_);
    for (uint32_t index = 0; index < nextFresh_; ++index) {
        const Slot* slot = slotAt(index);
        const uint32_t tag = slot->tag.load(std::memory_order_acquire);
        if (KindOf(tag) != Kind::NONE && (tag & kEmbeddedBit) == 0 &&
            slot->owner.load(std::memory_order_relaxed) == owner) {
            owned.emplace_back(MakeHandle(index, GenerationOf(tag)), KindOf(tag));
        }
    }
    return owned;
}

HandleTable::Status HandleTable::find(jint handle, bool (*accepts)(Kind), void** object, Kind* kind,
                                      bool* embedded) const {
    *object = nullptr;
    *kind = Kind::NONE;
    *embedded = false;
    if (handle == 0) {
        return Status::NONE;
    }
    uint32_t tag;
    const Slot* slot = slotOf(handle, &tag);
    if (slot == nullptr) {
        return Status::UNKNOWN;
    }
    *kind = KindOf(tag);
    if (!accepts(*kind)) {
        return Status::WRONG_KIND;
    }
    void* found = slot->object.load(std::memory_order_acquire);
    // Released (and perhaps reused) while being read: the handle is stale.
    if (slot->tag.load(std::memory_order_acquire) != tag) {
        return Status::UNKNOWN;
    }
    *object = found;
    *embedded = (tag & kEmbeddedBit) != 0;
    return Status::FOUND;
}

}  // namespace kesto::jni
