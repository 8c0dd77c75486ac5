// SPDX-License-Identifier: Apache-2.0
#include "journal_log.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarn_ldap {
namespace {

constexpr size_t kMostEntries = 500;
constexpr std::string_view kKind = "journal ";
constexpr std::string_view kField = "MESSAGE=";

}  // namespace

JournalLog::JournalLog(const JournalSettings &settings, const Begin &begin_where, Warn warn)
    : name_("journal of " + settings.unit), warn_(std::move(warn)) {
    sd_journal *opened = nullptr;
    const int status = settings.directory.empty()
                           ? sd_journal_open(&opened, SD_JOURNAL_SYSTEM)
                           : sd_journal_open_directory(&opened, settings.directory.c_str(), 0);
    journal_.reset(opened);
    check(status, settings.directory.c_str());
    check(sd_journal_add_match(opened, ("_SYSTEMD_UNIT=" + settings.unit).c_str(), 0), "matching");
    check(sd_journal_get_fd(opened), "watching");
    begin(begin_where);
}

void JournalLog::check(int status, const char *what) const {
    if (status < 0) throw std::system_error(-status, std::generic_category(), name_ + ": " + what);
}

void JournalLog::begin(const Begin &begin) {
    if (begin.position.empty()) {
        if (!begin.from_end) return check(sd_journal_seek_head(journal_.get()), "seeking");
        check(sd_journal_seek_tail(journal_.get()), "seeking");
        return check(sd_journal_previous(journal_.get()), "seeking");
    }
    if (!begin.position.starts_with(kKind))
        throw BadPosition("\"" + begin.position + "\" is no place in a journal");
    const std::string cursor = begin.position.substr(kKind.size());
    if (sd_journal_seek_cursor(journal_.get(), cursor.c_str()) < 0)
        throw BadPosition("\"" + begin.position + "\" is no place in a journal");
    if (!step()) return;
    is_at_new_ = sd_journal_test_cursor(journal_.get(), cursor.c_str()) <= 0;
    if (is_at_new_)
        warn_(name_ +
              ": the entry that was read last isn't there any more: messages may be "
              "missing");
}

int JournalLog::descriptor() const { return sd_journal_get_fd(journal_.get()); }

void JournalLog::acknowledge() { check(sd_journal_process(journal_.get()), "watching"); }

bool JournalLog::step() {
    const int status = sd_journal_next(journal_.get());
    check(status, "reading");
    return status > 0;
}

std::optional<Piece> JournalLog::next() {
    std::string bytes;
    for (size_t entries = 0; entries < kMostEntries; ++entries) {
        if (!std::exchange(is_at_new_, false) && !step()) break;
        add_message(bytes);
    }
    if (bytes.empty()) return std::nullopt;
    return Piece{std::move(bytes), false, position(), 0};
}

// As a line of a syslog daemon.
void JournalLog::add_message(std::string &bytes) const {
    const void *data = nullptr;
    size_t length = 0;
    // An entry without a message, or one that was removed meanwhile.
    if (sd_journal_get_data(journal_.get(), "MESSAGE", &data, &length) < 0) return;
    std::string message(static_cast<const char *>(data), length);
    message.erase(0, kField.size());
    std::replace(message.begin(), message.end(), '\n', ' ');
    bytes += "slapd[0]: " + message + "\n";
}

std::string JournalLog::position() const {
    char *cursor = nullptr;
    check(sd_journal_get_cursor(journal_.get(), &cursor), "its cursor");
    const std::unique_ptr<char, void (*)(void *)> owner(cursor, free);
    return std::string(kKind) + cursor;
}

}  // namespace tarn_ldap
