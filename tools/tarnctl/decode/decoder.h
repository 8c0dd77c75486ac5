// SPDX-License-Identifier: Apache-2.0
//
// Decodes wire bytes, a form a function.
#ifndef TARNCTL_DECODE_DECODER_H
#define TARNCTL_DECODE_DECODER_H

#include <string>
#include <vector>

#include "decode/pieces.h"
#include "decode/reader.h"
#include "model/value_type.h"

namespace tarnctl {

class Decoder {
 public:
    Decoder(Bytes bytes, std::size_t row) : in_(bytes), row_(row) {}

    std::vector<Piece> run(const Form &form);

 private:
    void document();
    void document_table();
    void document_record();
    void frame(const Table *table);
    void content(const Table *forced);
    void bounded_content(const Table *forced, std::size_t end);
    const Table *luid(const Table *forced);
    void object(const Structure &structure);
    void body(const Structure &structure, int variant, bool tracked);
    void field(const Field &field);
    void number(const Field &field);
    void enumeration(const Field &field);
    void value(const Field &field, const ObjectType &type);
    void array(const std::string &name, std::size_t count);
    void key(const Table &table);

    Reader in_;
    std::size_t row_;
};

}  // namespace tarnctl

#endif
