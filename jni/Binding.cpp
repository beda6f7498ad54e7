#include "jni/Binding.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <string>
#include <thread>
#include <vector>

#include "platform/Log.h"

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
std::string JavaMethodName(const char* exported) {
    static const char kPrefix[] = "Java_com_xol_kesto2_Kesto2_";
    std::string name(exported);
    if (name.compare(0, sizeof kPrefix - 1, kPrefix) == 0) {
        name.erase(0, sizeof kPrefix - 1);
    }
    for (size_t at = name.find("_1"); at != std::string::npos; at = name.find("_1", at + 1)) {
        name.erase(at + 1, 1);
    }
    return name;
}

void ReportBadHandle(const char* method, jint handle, HandleTable::Status status, Kind found,
                     bool (*accepts)(Kind)) {
    const std::string name = JavaMethodName(method);
    if (status == HandleTable::Status::WRONG_KIND) {
        KLOGE("%s NG - handle %d is a %s, not a %s", name.c_str(), handle, KindName(found),
              ExpectedKind(accepts));
    } else {
        KLOGE("%s NG - unknown handle %d", name.c_str(), handle);
    }
}

namespace {

using Clock = std::chrono::steady_clock;
// How long an update may hold the engine before a waiting thread says so.
constexpr auto kLongUpdate = std::chrono::seconds(2);

// Tickets handed out in arrival order over one mutex; the owner re-enters.
class FairLock {
  public:
    bool lock(int giveUpMillis) {
        std::unique_lock<std::mutex> guard(mutex_);
        const std::thread::id me = std::this_thread::get_id();
        if (owner_ == me) {
            ++depth_;
            return true;
        }
        const uint64_t ticket = next_++;
        const Clock::time_point start = Clock::now();
        bool told = false;
        while (serving_ != ticket || depth_ != 0) {
            changed_.wait_for(guard, std::chrono::milliseconds(100));
            const Clock::time_point now = Clock::now();
            if (serving_ == ticket || updates_ == 0 || now - updateStart_ < kLongUpdate) {
                continue;
            }
            if (!told) {
                told = true;
                KLOGE(
                    "engine lock - an update begun %lld ms ago on another thread has not ended "
                    "(Environment_EndUpdate missing?)",
                    static_cast<long long>(
                        std::chrono::duration_cast<std::chrono::milliseconds>(now - updateStart_)
                            .count()));
            }
            if (giveUpMillis >= 0 && now - start >= std::chrono::milliseconds(giveUpMillis)) {
                abandoned_.push_back(ticket);
                return false;
            }
        }
        owner_ = me;
        depth_ = 1;
        return true;
    }

    void unlock() {
        std::lock_guard<std::mutex> guard(mutex_);
        if (--depth_ > 0) {
            return;
        }
        owner_ = std::thread::id();
        // Waiters that gave up are passed over.
        for (++serving_; !abandoned_.empty();) {
            auto gone = std::find(abandoned_.begin(), abandoned_.end(), serving_);
            if (gone == abandoned_.end()) {
                break;
            }
            abandoned_.erase(gone);
            ++serving_;
        }
        changed_.notify_all();
    }

    void beginUpdate() {
        lock(-1);
        std::lock_guard<std::mutex> guard(mutex_);
        if (updates_++ == 0) {
            updateStart_ = Clock::now();
        }
    }

    bool endUpdate() {
        {
            std::lock_guard<std::mutex> guard(mutex_);
            if (owner_ != std::this_thread::get_id() || updates_ == 0) {
                return false;
            }
            --updates_;
        }
        unlock();
        return true;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::thread::id owner_;
    int depth_ = 0;
    uint64_t next_ = 0;
    uint64_t serving_ = 0;
    std::vector<uint64_t> abandoned_;
    // Updates the owner has open, and when the outermost began.
    int updates_ = 0;
    Clock::time_point updateStart_;
};

FairLock& Engine() {
    static FairLock* lock = new FairLock();  // lives as long as the process
    return *lock;
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
    KLOGE("%s NG - no update begun on this thread", JavaMethodName(method).c_str());
    return false;
}

void Hold::ReportBusy(const char* method, jint handle, HandleTable::Status status) {
    if (status == HandleTable::Status::BUSY) {
        KLOGE("%s NG - handle %d is in use on another thread", JavaMethodName(method).c_str(),
              handle);
    } else {
        ReportBadHandle(method, handle, HandleTable::Status::UNKNOWN, Kind::NONE, nullptr);
    }
}

void ReportEmbedded(const char* method, jint handle) {
    KLOGE("%s NG - handle %d belongs to its owner and goes with it", JavaMethodName(method).c_str(),
          handle);
}

}  // namespace kesto::jni
