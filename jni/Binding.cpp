#include "jni/Binding.h"

#include <cstring>

#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/Mutex.h"

KESTO_LOG_TAG("KestoJNI");

namespace kesto::jni {

namespace {

// The first kind a lookup accepts names what the method expected.
const char* ExpectedKind(bool (*accepts)(Kind)) {
    for (int kind = 1; kind <= static_cast<int>(Kind::NATIVE_BITMAP); ++kind) {
        if (accepts(static_cast<Kind>(kind))) {
            return KindName(static_cast<Kind>(kind));
        }
    }
    return "?";
}

}  // namespace

// "Java_com_xol_kesto2_Kesto2_Window_1Render" names the Java method "Window_Render".
struct MethodName {
    char text[128];
};

MethodName JavaMethodName(const char* exported) {
    static const char kPrefix[] = "Java_com_xol_kesto2_Kesto2_";
    if (std::strncmp(exported, kPrefix, sizeof kPrefix - 1) == 0) {
        exported += sizeof kPrefix - 1;
    }
    MethodName name;
    size_t length = 0;
    for (const char* c = exported; *c != '\0' && length + 1 < sizeof name.text; ++c) {
        name.text[length++] = *c;
        if (c[0] == '_' && c[1] == '1') {
            ++c;  // "_1" is how JNI writes an underscore
        }
    }
    name.text[length] = '\0';
    return name;
}

void ReportBadHandle(const char* method, jint handle, HandleTable::Status status, Kind found,
                     bool (*accepts)(Kind)) {
    const MethodName name = JavaMethodName(method);
    if (status == HandleTable::Status::WRONG_KIND) {
        KLOGE("%s NG - handle %d is a %s, not a %s", name.text, handle, KindName(found),
              ExpectedKind(accepts));
    } else {
        KLOGE("%s NG - unknown handle %d", name.text, handle);
    }
}

namespace {

// How long an update may hold the engine before a waiting thread says so.
constexpr int64_t kLongUpdateMillis = 2000;

// Tickets handed out in arrival order over one mutex; the owner re-enters.
class FairLock {
  public:
    constexpr FairLock() = default;

    bool lock(int giveUpMillis) {
        MutexGuard guard(mutex_);
        const pthread_t me = pthread_self();
        if (depth_ > 0 && pthread_equal(owner_, me)) {
            ++depth_;
            return true;
        }
        const uint64_t ticket = next_++;
        const int64_t start = uptimeMillis();
        bool told = false;
        while (serving_ != ticket || depth_ != 0) {
            changed_.waitFor(mutex_, 100);
            const int64_t now = uptimeMillis();
            if (serving_ == ticket || updates_ == 0 || now - updateStart_ < kLongUpdateMillis) {
                continue;
            }
            if (!told) {
                told = true;
                KLOGE(
                    "engine lock - an update begun %lld ms ago on another thread has not ended "
                    "(Environment_EndUpdate missing?)",
                    static_cast<long long>(now - updateStart_));
            }
            // A waiter leaves the queue only where its ticket can be remembered.
            if (giveUpMillis >= 0 && now - start >= giveUpMillis &&
                abandonedCount_ < kAbandonedSlots) {
                abandoned_[abandonedCount_++] = ticket;
                return false;
            }
        }
        owner_ = me;
        depth_ = 1;
        return true;
    }

    void unlock() {
        MutexGuard guard(mutex_);
        if (--depth_ > 0) {
            return;
        }
        // Waiters that gave up are passed over.
        ++serving_;
        while (forget(serving_)) {
            ++serving_;
        }
        changed_.notifyAll();
    }

    void beginUpdate() {
        lock(-1);
        MutexGuard guard(mutex_);
        if (updates_++ == 0) {
            updateStart_ = uptimeMillis();
        }
    }

    bool endUpdate() {
        {
            MutexGuard guard(mutex_);
            if (depth_ == 0 || !pthread_equal(owner_, pthread_self()) || updates_ == 0) {
                return false;
            }
            --updates_;
        }
        unlock();
        return true;
    }

  private:
    // Frames give up one at a time, each after seconds: a few slots are plenty.
    static constexpr int kAbandonedSlots = 16;

    // Whether `ticket` was given up; it is forgotten then, its turn being over.
    bool forget(uint64_t ticket) {
        for (int i = 0; i < abandonedCount_; ++i) {
            if (abandoned_[i] == ticket) {
                abandoned_[i] = abandoned_[--abandonedCount_];
                return true;
            }
        }
        return false;
    }

    Mutex mutex_;
    Condition changed_;
    pthread_t owner_ = 0;
    int depth_ = 0;
    uint64_t next_ = 0;
    uint64_t serving_ = 0;
    uint64_t abandoned_[kAbandonedSlots] = {};
    int abandonedCount_ = 0;
    // Updates the owner has open, and when the outermost began.
    int updates_ = 0;
    int64_t updateStart_ = 0;
};

FairLock g_engineLock;  // initialised statically, never destroyed

FairLock& Engine() {
    return g_engineLock;
}

}  // namespace

EngineLock::~EngineLock() {
    if (owned_) {
        Engine().unlock();
    }
}

EngineLock LockEngine(int giveUpMillis) {
    ClearLastError();
    return EngineLock(Engine().lock(giveUpMillis));
}

void BeginUpdate() {
    ClearLastError();
    Engine().beginUpdate();
}

bool EndUpdate(const char* method) {
    if (Engine().endUpdate()) {
        return true;
    }
    KLOGE("%s NG - no update begun on this thread", JavaMethodName(method).text);
    return false;
}

void Hold::ReportBusy(const char* method, jint handle, HandleTable::Status status) {
    if (status == HandleTable::Status::BUSY) {
        KLOGE("%s NG - handle %d is in use on another thread", JavaMethodName(method).text, handle);
    } else {
        ReportBadHandle(method, handle, HandleTable::Status::UNKNOWN, Kind::NONE, nullptr);
    }
}

void ReportEmbedded(const char* method, jint handle) {
    KLOGE("%s NG - handle %d belongs to its owner and goes with it", JavaMethodName(method).text,
          handle);
}

}  // namespace kesto::jni
