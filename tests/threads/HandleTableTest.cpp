// The handle table: values, kinds, staleness, and lock-free lookups racing registration and
// release. Also built with ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "jni/HandleTable.h"

namespace kesto::jni {
namespace {

bool AcceptsTexture(Kind kind) {
    return kind == Kind::TEXTURE;
}

void* Find(HandleTable& table, jint handle, HandleTable::Status* status) {
    void* object;
    Kind kind;
    bool embedded;
    *status = table.find(handle, &AcceptsTexture, &object, &kind, &embedded);
    return object;
}

// One texture a frame is the common pattern: a destroyed handle must not come back as another
// object for over a million cycles, even with a single object alive at a time.
TEST(HandleTableTest, ReleasedHandlesStayStaleForAMillionCycles) {
    HandleTable table;
    int first = 1, second = 2;
    const jint old = table.add(&first, Kind::TEXTURE, false);
    table.remove(old);
    HandleTable::Status status;
    jint reused = 0;
    for (int cycle = 0; cycle < 1'000'000; ++cycle) {
        reused = table.add(&second, Kind::TEXTURE, false);
        ASSERT_NE(old, reused) << "revived after " << cycle << " cycles";
        table.remove(reused);
    }
    EXPECT_EQ(nullptr, Find(table, old, &status));
    EXPECT_EQ(HandleTable::Status::UNKNOWN, status);
    reused = table.add(&second, Kind::TEXTURE, false);
    table.remove(old);  // a second release of a stale handle changes nothing
    EXPECT_EQ(&second, Find(table, reused, &status));
}

TEST(HandleTableTest, LookupsRaceRegistrationAndRelease) {
    HandleTable table;
    constexpr int kObjects = 256;
    static int objects[kObjects];
    std::atomic<jint> published[kObjects] = {};
    std::atomic<bool> stop{false};
    std::atomic<int> ready{0};
    // The writer keeps replacing handles; readers must only ever see the object a handle was
    // made for, or a refusal.
    std::thread writer([&] {
        while (ready.load() < 2) {
            std::this_thread::yield();
        }
        for (int round = 0; round < 500; ++round) {
            for (int i = 0; i < kObjects; ++i) {
                const jint previous = published[i].exchange(0);
                if (previous != 0) {
                    table.remove(previous);
                }
                published[i].store(table.add(&objects[i], Kind::TEXTURE, false));
            }
        }
        stop = true;
    });
    std::vector<std::thread> readers;
    std::atomic<long> found{0};
    for (int r = 0; r < 2; ++r) {
        readers.emplace_back([&] {
            ++ready;
            bool last = false;
            while (!last) {
                last = stop.load();  // one more full pass once the writer is done
                for (int i = 0; i < kObjects; ++i) {
                    const jint handle = published[i].load();
                    HandleTable::Status status;
                    void* object = Find(table, handle, &status);
                    if (status == HandleTable::Status::FOUND) {
                        ASSERT_EQ(&objects[i], object);
                        ++found;
                    }
                }
            }
        });
    }
    writer.join();
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_GT(found.load(), 0);
    EXPECT_EQ(kObjects, table.liveCount());
}

// A producer holding an object while the owner destroys it: the destroy waits for the hold, and
// no hold succeeds once the handle is gone. A use after the delete would be a race (TSan) or a
// use after free.
TEST(HandleTableTest, HoldsKeepObjectsAliveUntilReleased) {
    HandleTable table;
    long uses = 0;
    for (int round = 0; round < 200; ++round) {
        auto* object = new int(0);
        const jint handle = table.add(object, Kind::TEXTURE, false);
        std::atomic<bool> started{false};
        std::thread producer([&] {
            uint32_t token;
            for (HandleTable::Status status = HandleTable::Status::FOUND;
                 status != HandleTable::Status::UNKNOWN;) {
                status = table.hold(handle, false, &token);
                if (status == HandleTable::Status::FOUND) {
                    ++*object;
                    table.release(token);
                }
                started = true;
            }
        });
        while (!started) {
            std::this_thread::yield();
        }
        uint32_t token;
        ASSERT_EQ(HandleTable::Status::FOUND, table.hold(handle, true, &token));
        table.remove(handle);
        table.release(token);
        uses += *object;
        delete object;
        producer.join();
    }
    EXPECT_GT(uses, 0);
    EXPECT_EQ(0, table.liveCount());
}

}  // namespace
}  // namespace kesto::jni
