// SPDX-License-Identifier: Apache-2.0
//
// A log file that grows and is rotated. Each line is read once: after a rename the renamed file is
// read to its end first, and after a copy and truncation the rest of the copy.
#ifndef FEEDERS_LDAP_LOG_FILE_H
#define FEEDERS_LDAP_LOG_FILE_H

#include "log_source.h"
#include "rotated_files.h"

namespace tarn_ldap {

class LogFile : public LogSource {
 public:
    // The file needn't exist yet, its folder must. `warn` is called when lines may be lost.
    // Throws std::system_error or BadPosition.
    LogFile(const std::string &path, const Begin &begin, Warn warn);

    int descriptor() const override { return notices_.number(); }
    void acknowledge() override;
    std::optional<Piece> next() override;

 private:
    void begin_at(Descriptor file, const FilePosition &position);
    void begin(const Begin &begin);
    void find_again();
    bool open_first();
    void watch();
    std::optional<Piece> read_lines(bool is_complete);
    Piece take(std::string bytes);

    std::string path_;
    RotatedFiles files_;
    Warn warn_;
    Descriptor notices_;
    int watched_ = -1;  // the number of the notices about the present file
    Descriptor file_;   // none until the log exists
    FilePosition position_;
    std::string before_;  // the last bytes that were read
    bool new_text_ = false;
};

}  // namespace tarn_ldap

#endif
