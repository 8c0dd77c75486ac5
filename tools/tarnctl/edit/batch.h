// SPDX-License-Identifier: Apache-2.0
//
// Batches of orders: one a line, with the words of a command line.
//
//   # a comment
//   insert ldap_conn sname=ldap9.example.net num_conns=3
//   set ldap_conn 'a name with blanks' num_conns=4 --source 5
//   delete ldap_conn --where num_conns=0
//
// Blanks separate words. 'Single quotes' quote everything; in "double quotes" a backslash escapes
// `"` and `\`, outside of quotes any character. A # at the start of a word begins a comment.
#ifndef TARNCTL_EDIT_BATCH_H
#define TARNCTL_EDIT_BATCH_H

#include <string>
#include <string_view>
#include <vector>

namespace tarnctl {

struct BatchLine {
    std::string place;  // "FILE:LINE"
    std::vector<std::string> words;
};

// The words of a line. Failure `data` if a quotation doesn't end.
std::vector<std::string> split_words(std::string_view line);

// The lines of a file, or of standard input if the path is "-", without empty ones.
// Failure `data` that names file and line, or `store` if the file can't be read.
std::vector<BatchLine> read_batch(const std::string &path);

}  // namespace tarnctl

#endif
