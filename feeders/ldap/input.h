// SPDX-License-Identifier: Apache-2.0
//
// Where the log comes from: a file, a file that grows, or standard input.
//
// A followed file is read on after its end, as by `tail -F`: when its path names another file, that
// one is read from its start after the end of the old one; when it got shorter, it is read from its
// start again. Standard input is always read to its end. SIGINT and SIGTERM end any input between
// two pieces.
#ifndef FEEDERS_LDAP_INPUT_H
#define FEEDERS_LDAP_INPUT_H

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tarn_ldap {

// A file descriptor, closed at the end.
class Descriptor {
 public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor &&other) noexcept : number_(other.number_) { other.number_ = -1; }
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor();
    int number() const { return number_; }

 private:
    int number_;
};

struct InputOptions {
    std::string path;  // "-" or empty for standard input
    bool follow = false;
    bool from_end = false;  // skip the present contents
    std::optional<std::chrono::milliseconds> idle =
        {};  // stop following after this time without new lines
};

struct Piece {
    std::string bytes;
    bool new_text = false;      // these bytes begin another file
    std::string position = {};  // where they end, for a source that continues there; or empty
    uint64_t first_line = 0;    // the number of their first line; 0: the one after the last
};

class Input {
 public:
    // Throws std::system_error, naming the file, if it can't be read.
    explicit Input(InputOptions options);

    // The next bytes; none at the end of the input. Throws as the constructor.
    std::optional<Piece> next();
    const std::string &name() const { return name_; }

 private:
    enum class Wait { readable, elapsed, stopped };

    Wait wait(int descriptor, std::chrono::milliseconds timeout) const;
    std::string read_some();
    bool path_names_another_file() const;
    bool turn_to_new_text(bool moved);
    Descriptor try_open() const;

    InputOptions options_;
    std::string name_;
    Descriptor stop_;  // readable once a signal to stop has come
    Descriptor file_;
    bool follows_file_ = false;
    bool new_text_ = false;
};

}  // namespace tarn_ldap

#endif
