/* SPDX-License-Identifier: Apache-2.0 */
// A second implementation of an object's forms, based only on the models and the values,
// to compare with the library's byte by byte, in buffers of any length.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_FORMS_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_FORMS_H

#include <map>
#include <string>
#include <vector>

#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/model.h"

namespace tarn::test {

// An object to be written, whose fields were filled with a seed. A null
// `block`: the handle doesn't track state.
struct Filled {
    const Structure &type;
    u32 seed;
    int variant;
    const u8 *block;

    // The object in one of its fields, which is in its own highest variant.
    Filled inside(const Field &field) const;
};

// The result of marshal in a buffer of that size.
class WireForm {
 public:
    explicit WireForm(u32 space) : space_(space) {}
    void object(const Filled &filled);

    std::vector<u8> bytes;
    u32 err = 0;
    bool jumps = true;       // false: every jump stays 0
    std::vector<u32> edges;  // where an item ends, an array's elements apart

 private:
    u32 put_item(const void *item, std::size_t length);
    u32 put(u64 value, u32 length);
    void put_state(u8 flag);
    bool opened();
    void field(const Filled &filled, const Field &field);
    void states(const Filled &filled, const Field &field);

    u32 space_;
};

// The result of unmarshal from such a form.
class WireReading {
 public:
    // A null `block`: the reader doesn't track state.
    WireReading(const std::vector<u8> &bytes, u8 *block) : bytes_(bytes), block_(block) {}
    void object(const Structure &type, u32 state = 0, const std::string &path = "");

    u32 cursor = 0;
    u32 err = 0;
    // How much of the field at a path was read: an array's elements, else 1.
    std::map<std::string, u32> read;

 private:
    bool take(u32 length, u64 *value = nullptr);
    void take_state(bool on_wire, u32 position);
    bool opened();
    u32 remaining() const;
    u32 field(const Field &field, u32 state, const std::string &path);

    const std::vector<u8> &bytes_;
    u8 *block_;
};

// The result of print in a buffer of that size, filled with `filler`.
class TextForm {
 public:
    // Represents a byte that a closing line skipped after an error.
    static constexpr char any = '\x01';

    TextForm(u32 space, char filler) : space_(space), filler_(filler) {}
    void object(const Filled &filled, u32 indent, const std::string &name);

    std::string text;
    u32 err = 0;

 private:
    bool fits(std::size_t length);
    void frame(const std::string &piece);
    void value(const std::string &piece);
    void field(const Filled &filled, const Field &field, u32 indent);

    u32 space_;
    char filler_;
};

// The result of to_xml in a buffer of that size.
class XmlForm {
 public:
    explicit XmlForm(u32 space) : space_(space) {}
    void object(const Filled &filled, const std::string &name, u8 flag);

    std::string text;
    u32 err = 0;

 private:
    void piece(const std::string &piece);
    void closing(const std::string &name);
    void field(const Filled &filled, const Field &field);

    u32 space_;
};

}  // namespace tarn::test

#endif
