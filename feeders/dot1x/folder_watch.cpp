// SPDX-License-Identifier: Apache-2.0
#include "folder_watch.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace tarn_dot1x {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kInParent = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
constexpr uint32_t kInFolder =
    IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM | IN_DELETE_SELF | IN_ONLYDIR;
constexpr size_t kEventBytes = 16384;

fs::path without_slash(const std::string &folder) {
    const fs::path path = fs::absolute(folder);
    return path.has_filename() ? path : path.parent_path();
}

bool is_socket_file(const fs::path &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

}  // namespace

FolderWatch::FolderWatch(feeder::Loop &loop, std::string folder, Calls calls)
    : loop_(loop),
      folder_(without_slash(folder)),
      name_(fs::path(folder_).filename()),
      calls_(std::move(calls)),
      inotify_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (inotify_ < 0) throw std::system_error(errno, std::generic_category(), "inotify");
    try {
        watch_parent();
    } catch (...) {
        close(inotify_);
        throw;
    }
    loop_.watch(inotify_, [this] { read(); });
    timer_ = loop_.after(std::chrono::milliseconds(0), [this] {
        timer_.reset();
        open();
    });
}

FolderWatch::~FolderWatch() {
    if (timer_) loop_.cancel(*timer_);
    loop_.forget(inotify_);
    close(inotify_);
}

void FolderWatch::watch_parent() {
    const std::string parent = fs::path(folder_).parent_path();
    parent_watch_ = inotify_add_watch(inotify_, parent.c_str(), kInParent);
    if (parent_watch_ < 0) throw std::system_error(errno, std::generic_category(), parent);
}

// Watches the folder before its sockets are listed, so that none is missed.
void FolderWatch::open() {
    folder_watch_ = inotify_add_watch(inotify_, folder_.c_str(), kInFolder);
    if (folder_watch_ < 0) return;
    std::error_code error;
    for (fs::directory_iterator file(folder_, error), end; !error && file != end;
         file.increment(error))
        appear(file->path().filename());
}

void FolderWatch::read() {
    alignas(inotify_event) char bytes[kEventBytes];
    const ssize_t length = ::read(inotify_, bytes, sizeof bytes);
    for (ssize_t at = 0; at < length;) {
        const auto *event = reinterpret_cast<const inotify_event *>(bytes + at);
        take(*event);
        at += ssize_t(sizeof(inotify_event)) + ssize_t(event->len);
    }
}

void FolderWatch::take(const inotify_event &event) {
    const std::string name = event.len > 0 ? event.name : "";
    if ((event.mask & IN_Q_OVERFLOW) != 0) return open();
    if (event.wd == parent_watch_) {
        if (name == name_) open();
    } else if (event.wd != folder_watch_) {
        return;  // of a former folder of this name
    } else if ((event.mask & (IN_DELETE_SELF | IN_IGNORED)) != 0) {
        folder_watch_ = -1;
        for (const std::string &each : std::set(names_)) vanish(each);
    } else if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
        appear(name);
    } else {
        vanish(name);
    }
}

void FolderWatch::appear(const std::string &name) {
    if (!is_socket_file(fs::path(folder_) / name)) return;
    names_.insert(name);
    calls_.appeared(name);
}

void FolderWatch::vanish(const std::string &name) {
    if (names_.erase(name) > 0) calls_.vanished(name);
}

}  // namespace tarn_dot1x
