// SPDX-License-Identifier: Apache-2.0
//
// The messages of a unit in the journal of systemd.
#ifndef FEEDERS_LDAP_JOURNAL_LOG_H
#define FEEDERS_LDAP_JOURNAL_LOG_H

#include <systemd/sd-journal.h>

#include <memory>

#include "log_source.h"

namespace tarn_ldap {

struct JournalSettings {
    std::string unit;       // "slapd.service"
    std::string directory;  // of the journal's files; by default the system's
};

class JournalLog : public LogSource {
 public:
    // `warn` is called when messages may be lost. Throws std::system_error or BadPosition.
    JournalLog(const JournalSettings &settings, const Begin &begin, Warn warn);

    int descriptor() const override;
    void acknowledge() override;
    std::optional<Piece> next() override;

 private:
    void check(int status, const char *what) const;
    void begin(const Begin &begin);
    bool step();
    void add_message(std::string &bytes) const;
    std::string position() const;

    std::string name_;
    Warn warn_;
    std::unique_ptr<sd_journal, void (*)(sd_journal *)> journal_{nullptr, sd_journal_close};
    bool is_at_new_ = false;  // the present entry wasn't passed on yet
};

}  // namespace tarn_ldap

#endif
