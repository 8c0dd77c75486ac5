// SPDX-License-Identifier: Apache-2.0
#include "object/stretch.h"

#include <array>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/head.h"
#include "object/runs.h"

namespace tarnbase::object {

namespace {

// A nested structure, and where its form begins and ends.
struct Nested {
    const Structure &type;
    kel_object *object;
    std::uint32_t begin;
    std::uint32_t end;
    std::uint32_t jump() const { return end - begin - jump_offset; }
};

// The pieces of a stretch. `Heads` has what is done with the heads of nested structures: `admit`
// before their fields, `close` after them.
template <typename Heads>
class Stretch {
 public:
    Stretch(Heads &heads, std::uint32_t remaining) : heads_(heads), remaining_(remaining) {}

    // Adds fields of an object until one can't be in the stretch, which is returned.
    const Field *add(const FieldsFrom &fields, void *object) {
        const Field *field = fields.field;
        while (field != fields.end && field->first_variant <= fields.variant) {
            if (!add_field(*field, place_of(*field, object))) break;
            field += field->run;
        }
        return field;
    }

    const kel_run_piece *pieces() const { return pieces_.data(); }
    std::uint32_t count() const { return count_; }
    std::uint32_t length() const { return length_; }
    // The bytes of memory from an address to the end of the last piece.
    std::uint64_t reach(const void *first) const {
        const kel_run_piece &last = pieces_[count_ - 1];
        return static_cast<std::uint64_t>(static_cast<const char *>(last.values) -
                                          static_cast<const char *>(first)) +
               last.length;
    }

 private:
    static constexpr std::uint32_t most_pieces = 16;

    bool add_field(const Field &field, void *place) {
        if (field.kind == FieldKind::structure) return add_nested(*field.structure, place);
        if (field.kind == FieldKind::array) return add_run(place, field.elements, 1);
        if (!is_number(field.kind)) return false;
        const std::uint32_t width = facts_of(field.kind).size;
        return add_run(place, field.run * width, width);
    }

    bool add_run(void *values, std::uint32_t length, std::uint32_t width) {
        if (count_ == most_pieces || length > remaining_ - length_) return false;
        pieces_[count_++] = {values, length_, length, width};
        length_ += length;
        return true;
    }

    bool add_nested(const Structure &type, void *object) {
        const std::uint32_t count = count_, begin = length_;
        if (remaining_ - begin < head_length || !heads_.admit(type, header(object), begin))
            return false;
        length_ += head_length;
        const FieldRange fields = fields_of(type);
        const bool is_complete =
            fields.begin() != fields.end() &&
            add({fields.begin(), fields.end(), type.top_variant}, object) == fields.end();
        if (is_complete && heads_.close({type, header(object), begin, length_})) return true;
        count_ = count;
        length_ = begin;
        return false;
    }

    Heads &heads_;
    // The number and the length aren't adjacent: the compiler would load both at once, which waits
    // for their separate stores.
    std::uint32_t count_ = 0;
    std::uint32_t remaining_;
    std::uint32_t length_ = 0;
    std::array<kel_run_piece, most_pieces> pieces_;
};

// Heads of the newest variant without flags, which are written at once.
class WrittenHeads {
 public:
    WrittenHeads(const Call &call, char *buffer) : call_(call), buffer_(buffer) {}

    bool admit(const Structure &type, const kel_object *object, std::uint32_t) const {
        return object->variant == type.top_variant && (object->flags & OBJ_RA_DATA) == 0 &&
               domain_variant(call_, object->descriptor) >= type.top_variant;
    }
    bool close(const Nested &nested) const {
        char *const head = buffer_ + nested.begin;
        store_head(head, nested.type.top_variant);
        store_jump(head + jump_offset, nested.jump());
        return true;
    }

 private:
    const Call &call_;
    char *buffer_;
};

// Heads of the same form, to read. Their objects get the variant and the descriptor later.
class ReadHeads {
 public:
    explicit ReadHeads(const char *buffer) : buffer_(buffer) {}

    bool admit(const Structure &type, const kel_object *, std::uint32_t begin) const {
        return count_ < objects_.size() && buffer_[begin] == static_cast<char>(type.top_variant) &&
               buffer_[begin + flags_offset] == 0;
    }
    bool close(const Nested &nested) {
        if (load_jump(buffer_ + nested.begin + jump_offset) != nested.jump() ||
            count_ == objects_.size())
            return false;
        objects_[count_++] = {&nested.type, nested.object, nested.begin};
        return true;
    }
    // Of the first `length` bytes.
    void store_headers(const Call &call, std::uint32_t length) const {
        for (std::uint32_t i = 0; i < count_; ++i) {
            const Object &each = objects_[i];
            if (each.begin >= length) continue;
            each.object->variant = each.type->top_variant;
            each.object->descriptor = choose_descriptor(call, each.type->descriptor);
        }
    }

 private:
    struct Object {
        const Structure *type;
        kel_object *object;
        std::uint32_t begin;
    };
    const char *buffer_;
    std::uint32_t count_ = 0;
    std::array<Object, 8> objects_;
};

}  // namespace

const Field *write_stretch(const Call &call, Output &out, const FieldsFrom &fields,
                           const void *object) {
    if (call.failed()) return fields.field;
    WrittenHeads heads(call, out.at());
    Stretch<WrittenHeads> stretch(heads, out.remaining());
    const Field *const next = stretch.add(fields, const_cast<void *>(object));
    if (next == fields.field || piece_operations.marshal(call.handle, call.tx_id, out.at(),
                                                         stretch.pieces(), stretch.count()) == 0)
        return fields.field;
    out.advance(stretch.length());
    return next;
}

const Field *read_stretch(const Call &call, Input &in, const FieldsFrom &fields, void *object) {
    if (call.failed()) return fields.field;
    ReadHeads heads(in.at());
    Stretch<ReadHeads> stretch(heads, in.remaining());
    const Field *const next = stretch.add(fields, object);
    if (next == fields.field) return next;
    void *const first = place_of(*fields.field, object);
    if (piece_operations.unmarshal(call.handle, call.tx_id, in.at(), stretch.pieces(),
                                   stretch.count(), first, stretch.reach(first)) == 0)
        return fields.field;
    heads.store_headers(call, stretch.length());
    in.advance(stretch.length());
    return next;
}

}  // namespace tarnbase::object
