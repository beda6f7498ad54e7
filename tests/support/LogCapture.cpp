#include "tests/support/LogCapture.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <regex>

namespace kesto::test {

LogCapture::LogCapture() {
    std::fflush(stderr);
    char path[] = "/tmp/kesto-log-XXXXXX";
    captureFd_ = mkstemp(path);
    if (captureFd_ < 0) {
        std::perror("LogCapture mkstemp");
        std::abort();
    }
    unlink(path);
    savedFd_ = dup(STDERR_FILENO);
    dup2(captureFd_, STDERR_FILENO);
}

LogCapture::~LogCapture() {
    stop();
}

void LogCapture::stop() {
    if (stopped_) {
        return;
    }
    refresh();
    stopped_ = true;
    dup2(savedFd_, STDERR_FILENO);
    close(savedFd_);
    close(captureFd_);
}

void LogCapture::refresh() {
    if (stopped_) {
        return;
    }
    std::fflush(stderr);
    raw_.clear();
    char buffer[4096];
    ssize_t got;
    off_t offset = 0;
    while ((got = pread(captureFd_, buffer, sizeof buffer, offset)) > 0) {
        raw_.append(buffer, static_cast<size_t>(got));
        offset += got;
    }
    static const std::regex kLine(
        R"(^(\S+) ([VDIWEF]) \d\d-\d\d \d\d:\d\d:\d\d(?:\.\d+)?\s+\d+\s+\d+ (.*)$)");
    lines_.clear();
    size_t start = 0;
    while (start < raw_.size()) {
        size_t end = raw_.find('\n', start);
        if (end == std::string::npos) {
            end = raw_.size();
        }
        const std::string line = raw_.substr(start, end - start);
        std::smatch match;
        if (std::regex_match(line, match, kLine)) {
            lines_.push_back({match[1], match[2].str()[0], match[3]});
        }
        start = end + 1;
    }
}

const std::vector<LogLine>& LogCapture::lines() {
    refresh();
    return lines_;
}

int LogCapture::count(const std::string& tag, char priority, const std::string& message) {
    int found = 0;
    for (const LogLine& line : lines()) {
        found += line.tag == tag && line.priority == priority && line.message == message;
    }
    return found;
}

std::vector<std::string> LogCapture::messages(const std::string& tag) {
    std::vector<std::string> result;
    for (const LogLine& line : lines()) {
        if (line.tag == tag) {
            result.push_back(line.message);
        }
    }
    return result;
}

std::string LogCapture::text() {
    refresh();
    return raw_;
}

}  // namespace kesto::test
