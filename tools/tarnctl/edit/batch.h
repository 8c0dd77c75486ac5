// SPDX-License-Identifier: Apache-2.0
//
// Batches of orders: one a line, with the words of a command line.
//
//   # what begins a word with # is a comment
//   insert ldap_conn sname=ldap9.example.net num_conns=3
//   set ldap_conn 'a name with blanks' num_conns=4 --source 5
//   delete ldap_conn --where num_conns=0
//
// Blanks part words. 'in single quotes' everything stands for itself; "in double quotes" a
// backslash takes the meaning off the `"` or `\` behind it, outside of quotes off anything.
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

// The lines of a file, or of standard input if the path is "-", but those without words.
// Failure `data` that names file and line, or `store` if the file can't be read.
std::vector<BatchLine> read_batch(const std::string &path);

}  // namespace tarnctl

#endif
