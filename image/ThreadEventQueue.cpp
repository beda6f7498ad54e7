#include "image/ThreadEventQueue.h"

#include "platform/Log.h"

KESTO_LOG_TAG("KestoTEQ");

namespace kesto {

void ThreadEventQueueLog(const char* message) {
    KLOGE("%s", message);
}

}  // namespace kesto
