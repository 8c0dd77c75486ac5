// SPDX-License-Identifier: Apache-2.0
// Places in schema files, and what was found wrong there.
#ifndef TARNC_SOURCE_H
#define TARNC_SOURCE_H

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace tarnc {

struct Place {
    std::shared_ptr<const std::string> file;
    int line = 0;
    int column = 0;
};

// A word of a schema file and its place.
struct Name {
    std::string text;
    Place place;
};

// Collects errors: "file:line:column: what was wrong; expected what".
class Diagnostics {
 public:
    void report(const Place &place, const std::string &wrong, const std::string &expected);
    bool clean() const { return lines_.empty(); }
    // In the order of their places, each once.
    void print(std::ostream &out) const;

 private:
    struct Line {
        Place place;
        std::string text;
    };
    std::vector<Line> lines_;
};

// The content of a file; false if it can't be read.
bool read_file(const std::string &path, std::string &content);

}  // namespace tarnc

#endif
