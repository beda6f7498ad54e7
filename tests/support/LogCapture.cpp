#include "tests/support/LogCapture.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace kesto::test {

namespace {

// "TAG P MM-DD hh:mm:ss  pid  tid message": six fields, then the message as it was printed.
bool Parse(const std::string& line, LogLine* parsed) {
    size_t at = 0;
    std::string fields[6];
    for (std::string& field : fields) {
        const size_t begin = line.find_first_not_of(' ', at);
        if (begin == std::string::npos) {
            return false;
        }
        const size_t finish = line.find(' ', begin);
        if (finish == std::string::npos) {
            return false;
        }
        field = line.substr(begin, finish - begin);
        at = finish;
    }
    if (fields[1].size() != 1 || fields[2].size() != 5 || fields[2][2] != '-') {
        return false;
    }
    parsed->tag = fields[0];
    parsed->priority = fields[1][0];
    parsed->message = line.substr(at + 1);
    return true;
}

}  // namespace

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
    lines_.clear();
    size_t start = 0;
    while (start < raw_.size()) {
        size_t end = raw_.find('\n', start);
        if (end == std::string::npos) {
            end = raw_.size();
        }
        LogLine parsed;
        if (Parse(raw_.substr(start, end - start), &parsed)) {
            lines_.push_back(parsed);
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
