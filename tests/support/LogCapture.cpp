#include "tests/support/LogCapture.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace kesto::test {

namespace {

// "TAG P MM-DD hh:mm:ss  pid  tid message": six fields, then the message as it was printed.
bool Parse(const std::string& line, LogLine* parsed) {
    std::istringstream in(line);
    std::string priority, date, time, pid, tid;
    if (!(in >> parsed->tag >> priority >> date >> time >> pid >> tid) || priority.size() != 1 ||
        date.size() != 5 || date[2] != '-') {
        return false;
    }
    parsed->priority = priority[0];
    in.get();  // the one space before the message
    std::getline(in, parsed->message);
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
    std::istringstream in(raw_);
    LogLine parsed;
    for (std::string line; std::getline(in, line);) {
        if (Parse(line, &parsed)) {
            lines_.push_back(parsed);
        }
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
