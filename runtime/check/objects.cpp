// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/objects.h"

#include <algorithm>
#include <cstddef>

#include "runtime/value/address.h"
#include "runtime/value/vstring.h"

namespace tarnbase::runtime {

namespace {

constexpr unsigned data_flags = OBJ_STATE_ELSEWHERE | OBJ_RA_DATA;

std::uint64_t part_bytes(const Part &part) {
    return is_value(part.kind) ? part.type->variant_info->variants[0].used_length
                               : sizeof(kel_enum_object);
}

// The bytes of an object of that variant, without a state block.
std::uint64_t used_length(const ObjectType &type, std::int8_t variant) {
    const auto index = static_cast<std::size_t>(std::max<int>(variant, 0));
    return type.used_lengths[std::min(index, type.used_lengths.size() - 1)];
}

std::string part_name(const ObjectCheck::Where &where, const Part &part) {
    return where() + ", byte " + std::to_string(part.offset) + ", a " + part.type->name;
}

}  // namespace

bool ObjectCheck::check_descriptor(const kel_type_info *found, const kel_type_info *constant,
                                   const Where &where) {
    switch (descriptors_.fit(found, constant)) {
        case Fit::right:
            return true;
        case Fit::foreign:
            ++foreign_;
            return true;
        case Fit::wrong:
            break;
    }
    findings_.add(where(), "its descriptor is %p, expected that of %s",
                  static_cast<const void *>(found), constant->name);
    return false;
}

const ObjectData *ObjectCheck::check_data(const void *object, bool is_expected,
                                          const Where &where) {
    if (!entries_.has_data()) return nullptr;
    const ObjectData *data = is_expected ? entries_.use_data(object) : nullptr;
    if (is_expected && data == nullptr) {
        findings_.add(where(),
                      "its flags say that it has an entry in the map of objects' data, "
                      "but it has none");
    }
    return data;
}

// The flag isn't checked: a copy of another object's bytes changes it.
void ObjectCheck::check_identity(const kel_object &head, const Where &where) {
    const Identity *identity = entries_.use_identity(&head);
    if (identity != nullptr && identity->is_table()) {
        findings_.add(where(), "its identity is that of a table");
    }
}

bool ObjectCheck::check(const ObjectType &type, const void *object, Allocator::Extent block,
                        const Where &where) {
    const auto &head = *static_cast<const kel_object *>(object);
    bool readable = check_header(type, head, block, where);
    for (const Part &part : type.parts) {
        readable &= check_part(type, part, object, block, where);
    }
    return readable;
}

bool ObjectCheck::check_header(const ObjectType &type, const kel_object &head,
                               Allocator::Extent block, const Where &where) {
    const std::uint64_t before = findings_.count();
    check_descriptor(head.descriptor, type.type, where);
    const kel_type_info *known = descriptors_.readable(head.descriptor);
    const int variants = std::max<int>(known != nullptr ? known->variant_info->variant_count : 0,
                                       type.top_variant + 1);
    if (head.variant >= variants || head.created_variant >= variants) {
        findings_.add(where(), "its variants are %d and %d, expected less than %d", head.variant,
                      head.created_variant, variants);
    }
    if ((head.flags & OBJ_NESTED) != 0) {
        findings_.add(where(), "its flags are 0x%x: an object in another one", head.flags);
    }
    if (block.size < used_length(type, head.variant)) {
        findings_.add(where(), "its block has %llu bytes, its variant %d has %llu",
                      static_cast<unsigned long long>(block.size), head.variant,
                      static_cast<unsigned long long>(used_length(type, head.variant)));
    }
    const bool is_tracked = (head.flags & OBJ_STATE_TRACKED) != 0;
    if (is_tracked && block.size < type.tracked_bytes) {
        findings_.add(where(), "its block of %llu bytes is too small for its state",
                      static_cast<unsigned long long>(block.size));
    }
    if ((head.flags & OBJ_STATE_ELSEWHERE) != 0) {
        findings_.add(where(), "its flags say that its state block isn't after it");
    }
    check_data(&head, (head.flags & data_flags) != 0, where);
    check_identity(head, where);
    return findings_.count() == before;
}

bool ObjectCheck::check_part(const ObjectType &type, const Part &part, const void *object,
                             Allocator::Extent block, const Where &where) {
    const auto &outer = *static_cast<const kel_object *>(object);
    const char *place = static_cast<const char *>(object) + part.offset;
    const auto &head = *reinterpret_cast<const kel_object *>(place);
    const bool is_outside = part.offset + part_bytes(part) > block.size;
    if (part.offset >= used_length(type, outer.variant) &&
        (is_outside || head.descriptor == nullptr)) {
        return true;  // a later field, which the maker of the object didn't have
    }
    if (is_outside) return false;  // the header's check has a finding
    const Where part_where = [&] { return part_name(where, part); };
    const bool right = check_part_header(type, part, outer, head, block, part_where);
    return check_content(part, place, part_where) && right;
}

bool ObjectCheck::check_part_header(const ObjectType &type, const Part &part,
                                    const kel_object &outer, const kel_object &head,
                                    Allocator::Extent block, const Where &where) {
    const std::uint64_t before = findings_.count();
    if (!is_value(part.kind)) {
        check_descriptor(head.descriptor, part.type, where);
    } else if (head.descriptor == nullptr || blocks_.is_inside(head.descriptor) ||
               descriptors_.fit(head.descriptor, part.type) == Fit::wrong) {
        // The runtime's own descriptors: each process has them at another address.
        findings_.add(where(), "its descriptor is %p, which isn't its type's",
                      static_cast<const void *>(head.descriptor));
    }
    if ((head.flags & OBJ_NESTED) == 0) {
        findings_.add(where(), "its flags are 0x%x, which isn't an object in another one",
                      head.flags);
    }
    const bool is_elsewhere = (head.flags & OBJ_STATE_ELSEWHERE) != 0;
    const ObjectData *data = check_data(&head, (head.flags & data_flags) != 0, where);
    const bool is_tracked = (outer.flags & OBJ_STATE_TRACKED) != 0;
    if (part.has_state && is_elsewhere != is_tracked) {
        findings_.add(where(), "the object around it has %s state block, its flags are 0x%x",
                      is_tracked ? "a" : "no", head.flags);
    } else if (is_elsewhere && data != nullptr) {
        const std::uint64_t at = part.offset + std::uint64_t{data->state_distance};
        const bool is_same_build = block.size == type.tracked_bytes;
        if (at >= block.size || at < type.plain_bytes ||
            (is_same_build && data->state_distance != part.state_distance)) {
            findings_.add(where(), "its state is at a distance of %u bytes, expected %u",
                          data->state_distance, part.state_distance);
        }
    }
    if (part.kind == PartKind::structure) check_identity(head, where);
    return findings_.count() == before;
}

bool ObjectCheck::check_content(const Part &part, const void *place, const Where &where) {
    switch (part.kind) {
        case PartKind::text:
            return check_text(*static_cast<const kel_vstring *>(place), where);
        case PartKind::address:
            return check_address(*static_cast<const ip_address *>(place), where);
        case PartKind::boolean: {
            const std::uint32_t value = static_cast<const kel_boolean *>(place)->value;
            if (value > 1) findings_.add(where(), "its value is %u, expected 0 or 1", value);
            return true;
        }
        case PartKind::other_value:
        case PartKind::enumeration:
        case PartKind::structure:
            break;
    }
    return true;
}

bool ObjectCheck::check_text(const kel_vstring &string, const Where &where) {
    if (string.borrowed != 0) {
        findings_.add(where(), "its text is borrowed from a process's memory");
        return false;
    }
    if (is_inline(string)) {
        const char *end = string.text.bytes + KEL_VSTRING_INLINE;
        if (std::all_of(string.text.bytes + string.length, end, [](char c) { return c == 0; })) {
            return true;
        }
        findings_.add(where(), "a byte after its text of %u bytes isn't zero", string.length);
        return true;
    }
    const char *text = text_block(string);
    if (string.length > longest_text || !entries_.use_text(&string, text, string.length)) {
        findings_.add(where(), "its text of %u bytes at %p isn't one that it owns", string.length,
                      static_cast<const void *>(text));
        return false;
    }
    if (std::memcmp(text, string.text.outside.prefix, sizeof string.text.outside.prefix) != 0) {
        findings_.add(where(), "its first bytes aren't those of its text");
    }
    return true;
}

bool ObjectCheck::check_address(const ip_address &address, const Where &where) {
    const auto length = address.family == KEL_ADDRESS_NONE ? 0 : address_length(address.family);
    if (!length) {
        findings_.add(where(), "the family of its address is %u, expected 0, 4 or 6",
                      address.family);
        return false;
    }
    const std::uint8_t *end = address.bytes + sizeof address.bytes;
    const auto is_zero = [](std::uint8_t byte) { return byte == 0; };
    if (!std::all_of(address.bytes + *length, end, is_zero) ||
        !std::all_of(std::begin(address.reserved), std::end(address.reserved), is_zero)) {
        findings_.add(where(), "a byte after its address isn't zero");
    }
    return true;
}

}  // namespace tarnbase::runtime
