/* SPDX-License-Identifier: Apache-2.0 */
// The kinds of field, and what holds for every field of a kind. This is the only list:
// the library, the schema compiler, the catalogue and the debugger's script read it.
#ifndef TARNBASE_FRAME_KINDS_H
#define TARNBASE_FRAME_KINDS_H

#include <cstdint>

namespace tarnbase {

// KIND(group, kind, type, c_type, plain, face, size, alignment, state, wire)
//
//   group      number       a plain value, stored as it is
//              boxed        a plain value in an object with a header
//              enumeration  likewise; the object is of the field's enumeration
//              object       an object of its own, without a plain value
//              structure    a nested structure
//              array        numbers of one type
//   type       in a schema, and the first part of its services' names; empty if the
//              field names an item of the schema
//   c_type     what is stored, or stored for each element of an array
//   plain      C type of the plain value; empty if there is none
//   face       type in the C++ interface; empty if it is made from the item's name
//   size       bytes in the object, or of an element
//   state      bytes in the state block: the field's own, and an object's share. A
//              structure adds its state block, an array one byte an element
//   wire       bytes in the wire form, without a part of variable length
//
// Further arguments of the list are passed on after these.
// clang-format off
#define TARN_FIELD_KINDS(KIND, ...) \
  KIND(number,      u_int8,      u_int8,      uint8_t,         uint8_t,  std::uint8_t,      1, 1, 1, 1, __VA_ARGS__) \
  KIND(number,      u_int16,     u_int16,     uint16_t,        uint16_t, std::uint16_t,     2, 2, 1, 2, __VA_ARGS__) \
  KIND(number,      u_int32,     u_int32,     uint32_t,        uint32_t, std::uint32_t,     4, 4, 1, 4, __VA_ARGS__) \
  KIND(number,      u_int64,     u_int64,     uint64_t,        uint64_t, std::uint64_t,     8, 8, 1, 8, __VA_ARGS__) \
  KIND(number,      int32,       int32,       int32_t,         int32_t,  std::int32_t,      4, 4, 1, 4, __VA_ARGS__) \
  KIND(number,      int64,       int64,       int64_t,         int64_t,  std::int64_t,      8, 8, 1, 8, __VA_ARGS__) \
  KIND(boxed,       boolean,     kel_boolean, kel_boolean,     uint32_t, bool,             16, 8, 1, 1, __VA_ARGS__) \
  KIND(enumeration, enumeration, ,            kel_enum_object, uint32_t, ,                 16, 8, 1, 5, __VA_ARGS__) \
  KIND(object,      vstring,     kel_vstring, kel_vstring,     ,         std::string_view, 32, 8, 2, 4, __VA_ARGS__) \
  KIND(object,      address,     ip_address,  ip_address,      ,         ::tarn::address,  32, 8, 8, 1, __VA_ARGS__) \
  KIND(structure,   structure,   ,            ,                ,         ,                  0, 8, 1, 0, __VA_ARGS__) \
  KIND(array,       array,       ,            uint8_t,         ,         std::uint8_t,      1, 1, 1, 1, __VA_ARGS__)
// clang-format on

enum class FieldKind : std::uint8_t {
#define TARN_ENUMERATOR(group, kind, ...) kind,
    TARN_FIELD_KINDS(TARN_ENUMERATOR)
#undef TARN_ENUMERATOR
};

enum class KindGroup : std::uint8_t { number, boxed, enumeration, object, structure, array };

// A row of the list; texts for the empty words are empty.
struct KindFacts {
    KindGroup group;
    FieldKind kind;
    const char *group_name;
    const char *name;
    const char *type;
    const char *c_type;
    const char *plain;
    const char *face;
    std::uint32_t size;
    std::uint32_t alignment;
    std::uint32_t state;
    std::uint32_t wire;
};

inline constexpr KindFacts all_kinds[] = {
#define TARN_FACTS(group, kind, type, c_type, plain, face, size, alignment, state, wire, ...) \
    {KindGroup::group, FieldKind::kind, #group, #kind,     #type, #c_type,                    \
     #plain,           #face,           size,   alignment, state, wire},
    TARN_FIELD_KINDS(TARN_FACTS)
#undef TARN_FACTS
};

constexpr const KindFacts &facts_of(FieldKind kind) {
    return all_kinds[static_cast<unsigned>(kind)];
}

// A set of kinds: a bit each. A worker tests one at run time without reading the list.
class KindSet {
 public:
    template <typename Holds>
    explicit consteval KindSet(Holds holds) : bits_(0) {
        for (const KindFacts &each : all_kinds) {
            if (holds(each)) bits_ |= 1U << static_cast<unsigned>(each.kind);
        }
    }
    constexpr bool has(FieldKind kind) const {
        return (bits_ >> static_cast<unsigned>(kind) & 1U) != 0;
    }

 private:
    std::uint32_t bits_;
};

constexpr bool is_number(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) { return each.group == KindGroup::number; });
    return set.has(kind);
}

constexpr bool is_signed(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) {
        return each.group == KindGroup::number && each.plain[0] == 'i';
    });
    return set.has(kind);
}

// A field with a plain value: has get_value and set_value, and takes part in
// get_all and set_all.
constexpr bool has_plain_value(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) { return each.plain[0] != '\0'; });
    return set.has(kind);
}

// A field that is an embedded object with a header of its own.
constexpr bool has_header(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) {
        return each.group != KindGroup::number && each.group != KindGroup::array;
    });
    return set.has(kind);
}

// A field that is an embedded object with a share of the state block of its own:
// takes part in offset_update, post_copyout_cleanup and destroy.
constexpr bool owns_state(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) {
        return each.group == KindGroup::object || each.group == KindGroup::structure;
    });
    return set.has(kind);
}

// The `is_small` argument of the variant and modified services for this field.
constexpr std::uint32_t is_small(FieldKind kind) {
    return has_header(kind) && has_plain_value(kind) ? 1U : 0U;
}

// Whether a table can be keyed by the field itself.
constexpr bool can_be_key(FieldKind kind) {
    constexpr KindSet set([](const KindFacts &each) {
        return each.kind == FieldKind::u_int32 || each.group == KindGroup::enumeration ||
               each.group == KindGroup::object;
    });
    return set.has(kind);
}

}  // namespace tarnbase

#endif
