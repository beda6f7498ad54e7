// Captures what the library logs. On Linux liblog writes each line to stderr as
// "TAG P MM-DD hh:mm:ss  pid  tid message", so the capture redirects file descriptor 2.
#pragma once

#include <string>
#include <vector>

namespace kesto::test {

struct LogLine {
    std::string tag;
    char priority;  // 'E', 'I', 'D', ...
    std::string message;
};

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything captured so far, parsed; capturing goes on until the destructor.
    const std::vector<LogLine>& lines();
    int count(const std::string& tag, char priority, const std::string& message);
    bool has(const std::string& tag, char priority, const std::string& message) {
        return count(tag, priority, message) > 0;
    }
    // The messages of one tag, in order.
    std::vector<std::string> messages(const std::string& tag);
    std::string text();

  private:
    void stop();
    void refresh();

    int savedFd_ = -1;
    int captureFd_ = -1;
    bool stopped_ = false;
    std::string raw_;
    std::vector<LogLine> lines_;
};

// How often the log mask of a tag has been read in this process.
int LogMaskReads(const std::string& tag);

}  // namespace kesto::test
