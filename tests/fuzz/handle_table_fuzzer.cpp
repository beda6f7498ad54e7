// The handle table under sequences of add, remove, find, setEmbedded and embedded decoded from the
// input, against a model that checks every answer: handles are positive multiples of 4 and never
// collide with a live one, a live handle finds its object with its kind and embedded flag, lookups
// for other kinds are refused, released handles (and whatever was embedded in them) are unknown.
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "jni/HandleTable.h"
#include "tests/fuzz/FuzzSupport.h"

namespace kesto {
namespace fuzz {
namespace {

using jni::HandleTable;
using jni::HandleType;
using jni::Kind;

constexpr int kKinds = 14;  // NONE and the thirteen object kinds

// The lookups the bindings make, and the kinds each one must accept, written out from the rules:
// a scene-node lookup takes every node kind, a sprite lookup takes blur sprites too.
struct Lookup {
    bool (*accepts)(Kind);
    std::vector<Kind> kinds;
};

const std::vector<Lookup>& Lookups() {
    static const std::vector<Lookup> lookups = {
        {HandleType<Environment>::Accepts, {Kind::ENVIRONMENT}},
        {HandleType<Context>::Accepts, {Kind::CONTEXT}},
        {HandleType<Window>::Accepts, {Kind::WINDOW}},
        {HandleType<Viewport>::Accepts, {Kind::VIEWPORT}},
        {HandleType<Scene>::Accepts, {Kind::SCENE}},
        {HandleType<SceneNode>::Accepts,
         {Kind::SCENE_NODE, Kind::CAMERA, Kind::SPRITE, Kind::BLUR_SPRITE, Kind::SCISSOR}},
        {HandleType<Camera>::Accepts, {Kind::CAMERA}},
        {HandleType<Sprite>::Accepts, {Kind::SPRITE, Kind::BLUR_SPRITE}},
        {HandleType<BlurSprite>::Accepts, {Kind::BLUR_SPRITE}},
        {HandleType<Scissor>::Accepts, {Kind::SCISSOR}},
        {HandleType<Bitmap>::Accepts, {Kind::BITMAP}},
        {HandleType<Texture>::Accepts, {Kind::TEXTURE}},
        {HandleType<NativeBitmap>::Accepts, {Kind::NATIVE_BITMAP}},
    };
    return lookups;
}

bool Accepted(const Lookup& lookup, Kind kind) {
    for (Kind k : lookup.kinds) {
        if (k == kind) {
            return true;
        }
    }
    return false;
}

struct Entry {
    void* object;
    Kind kind;
    bool embedded;
    jint inner[2];
};

class Harness {
  public:
    explicit Harness(Reader& in) : in_(in), table_(std::make_unique<HandleTable>()) {}

    void step() {
        switch (in_.u8() % 8) {
            case 0:
            case 1:
                add();
                break;
            case 2:
                remove(pick());
                break;
            case 3:
                find(pick());
                break;
            case 4:
                setEmbedded();
                break;
            case 5: {
                const jint owner = pick();
                embedded(owner, slot());
                break;
            }
            case 6:
                // Many adds and removes: slot generations go round.
                churn();
                break;
            default:
                sweep();
                break;
        }
        FUZZ_CHECK(table_->liveCount() == static_cast<int32_t>(live_.size()));
    }

    void sweep() {
        for (const auto& [handle, entry] : live_) {
            expectFound(handle, entry);
        }
        // The most recent releases: older ones were checked when they were released.
        const size_t recent = issued_.size() > 256 ? issued_.size() - 256 : 0;
        for (size_t i = recent; i < issued_.size(); ++i) {
            if (live_.count(issued_[i]) == 0) {
                expectUnknown(issued_[i]);
            }
        }
    }

  private:
    // A live handle, a released one, one of those with its generation or index disturbed, or
    // anything at all.
    jint pick() {
        const uint8_t mode = in_.u8();
        switch (mode % 6) {
            case 0:
            case 1:
                if (!live_.empty()) {
                    auto it = live_.begin();
                    std::advance(it, in_.u8() % live_.size());
                    return it->first;
                }
                return 0;
            case 2:
                return issued_.empty() ? 0 : issued_[in_.u16() % issued_.size()];
            case 3: {
                const jint base = issued_.empty() ? 4 : issued_[in_.u16() % issued_.size()];
                return static_cast<jint>(static_cast<uint32_t>(base) ^ (1u << (in_.u8() % 32)));
            }
            case 4:
                return static_cast<jint>(in_.u16()) << 2;
            default:
                return in_.i32();
        }
    }

    int slot() {
        static const int kSlots[] = {0, 1, -1, 2, 0x7FFFFFFF, -0x7FFFFFFF - 1};
        return kSlots[in_.u8() % 6];
    }

    void add() {
        const Kind kind = static_cast<Kind>(1 + in_.u8() % (kKinds - 1));
        const bool embedded = in_.u8() & 1;
        void* object = &objects_[nextObject_++ % kObjects];
        const jint handle = table_->add(object, kind, embedded);
        FUZZ_CHECK(handle > 0);
        FUZZ_CHECK(handle % 4 == 0);
        FUZZ_CHECK(live_.count(handle) == 0);
        live_[handle] = Entry{object, kind, embedded, {0, 0}};
        issued_.push_back(handle);
        expectFound(handle, live_[handle]);
    }

    // The owner goes, then whatever it recorded as embedded, each with its own embedded ones.
    void modelRemove(jint handle, std::vector<jint>* gone) {
        auto it = live_.find(handle);
        if (it == live_.end()) {
            return;
        }
        const Entry entry = it->second;
        live_.erase(it);
        gone->push_back(handle);
        for (jint inner : entry.inner) {
            if (inner != 0) {
                modelRemove(inner, gone);
            }
        }
    }

    void remove(jint handle) {
        std::vector<jint> gone;
        modelRemove(handle, &gone);
        table_->remove(handle);
        for (jint released : gone) {
            // Unless the very value went straight back out to another object.
            if (live_.count(released) == 0) {
                expectUnknown(released);
            }
        }
    }

    void find(jint handle) {
        const auto it = live_.find(handle);
        if (it != live_.end()) {
            expectFound(handle, it->second);
        } else if (handle == 0) {
            void* object = &objects_[0];
            Kind kind = Kind::SCENE;
            bool embedded = true;
            const auto& lookup = Lookups()[in_.u8() % Lookups().size()];
            FUZZ_CHECK(table_->find(0, lookup.accepts, &object, &kind, &embedded) ==
                       HandleTable::Status::NONE);
            FUZZ_CHECK(object == nullptr && kind == Kind::NONE && !embedded);
        } else {
            expectUnknown(handle);
        }
    }

    void setEmbedded() {
        const jint owner = pick();
        const int index = slot();
        const jint inner = in_.u8() % 4 == 0 ? 0 : pick();
        table_->setEmbedded(owner, index, inner);
        auto it = live_.find(owner);
        if (it != live_.end() && index >= 0 && index < 2) {
            it->second.inner[index] = inner;
        }
        embedded(owner, index);
    }

    void embedded(jint owner, int index) {
        const auto it = live_.find(owner);
        const jint expected =
            it != live_.end() && index >= 0 && index < 2 ? it->second.inner[index] : 0;
        FUZZ_CHECK(table_->embedded(owner, index) == expected);
    }

    void churn() {
        const int rounds = 1 + in_.u8() * 4;
        const Kind kind = static_cast<Kind>(1 + in_.u8() % (kKinds - 1));
        for (int i = 0; i < rounds; ++i) {
            const jint handle = table_->add(&objects_[0], kind, false);
            FUZZ_CHECK(handle > 0 && handle % 4 == 0 && live_.count(handle) == 0);
            // Every lookup on every round would make this the slowest operation by far.
            const bool full = i % 32 == 0 || i == rounds - 1;
            if (full) {
                live_[handle] = Entry{&objects_[0], kind, false, {0, 0}};
                expectFound(handle, live_[handle]);
                remove(handle);
                issued_.push_back(handle);
            } else {
                table_->remove(handle);
            }
        }
    }

    // Every lookup: the ones accepting the kind find the object, the others are refused naming
    // the kind; nothing is reported as found otherwise.
    void expectFound(jint handle, const Entry& entry) {
        for (const Lookup& lookup : Lookups()) {
            void* object = nullptr;
            Kind kind = Kind::NONE;
            bool embedded = !entry.embedded;
            const auto status = table_->find(handle, lookup.accepts, &object, &kind, &embedded);
            FUZZ_CHECK(kind == entry.kind);
            if (Accepted(lookup, entry.kind)) {
                FUZZ_CHECK(status == HandleTable::Status::FOUND);
                FUZZ_CHECK(object == entry.object);
                FUZZ_CHECK(embedded == entry.embedded);
            } else {
                FUZZ_CHECK(status == HandleTable::Status::WRONG_KIND);
                FUZZ_CHECK(object == nullptr && !embedded);
            }
        }
        for (int i = 0; i < 2; ++i) {
            FUZZ_CHECK(table_->embedded(handle, i) == entry.inner[i]);
        }
    }

    void expectUnknown(jint handle) {
        for (const Lookup& lookup : Lookups()) {
            void* object = &objects_[0];
            Kind kind = Kind::SCENE;
            bool embedded = true;
            const auto status = table_->find(handle, lookup.accepts, &object, &kind, &embedded);
            FUZZ_CHECK(status ==
                       (handle == 0 ? HandleTable::Status::NONE : HandleTable::Status::UNKNOWN));
            FUZZ_CHECK(object == nullptr && kind == Kind::NONE && !embedded);
        }
        FUZZ_CHECK(table_->embedded(handle, 0) == 0 && table_->embedded(handle, 1) == 0);
        // Releasing it again, or recording into it, changes nothing.
        const int32_t live = table_->liveCount();
        table_->remove(handle);
        table_->setEmbedded(handle, 0, 4);
        FUZZ_CHECK(table_->liveCount() == live);
        FUZZ_CHECK(table_->embedded(handle, 0) == 0);
    }

    static constexpr int kObjects = 64;

    Reader& in_;
    std::unique_ptr<HandleTable> table_;
    std::map<jint, Entry> live_;
    std::vector<jint> issued_;
    char objects_[kObjects] = {};
    int nextObject_ = 0;
};

// The per-type acceptance tables agree with the rules above for every kind, NONE included.
void CheckAcceptance() {
    for (const Lookup& lookup : Lookups()) {
        for (int k = 0; k < kKinds; ++k) {
            const Kind kind = static_cast<Kind>(k);
            FUZZ_CHECK(lookup.accepts(kind) == Accepted(lookup, kind));
        }
    }
}

}  // namespace
}  // namespace fuzz
}  // namespace kesto

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kesto;
    static const bool checked = (fuzz::CheckAcceptance(), true);
    (void)checked;
    fuzz::Reader in(data, size);
    fuzz::Harness harness(in);
    for (int steps = 0; steps < 512 && !in.done(); ++steps) {
        harness.step();
    }
    harness.sweep();
    return 0;
}
