// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/record_salvage.h"

#include "runtime/value/vstring.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint8_t known_flags =
    KEL_RECORD_IN_INDEX | KEL_RECORD_PENDING_DESTROY | KEL_RECORD_PKEY_INSERTED;
constexpr std::uint8_t data_flags = OBJ_STATE_ELSEWHERE | OBJ_RA_DATA;

template <typename Flags>
void clear(Flags &flags, unsigned bits) {
    flags = static_cast<Flags>(flags & ~bits);
}

}  // namespace

RecordSalvage::RecordSalvage(const Image &image, const Suspects &suspects, Blocks &blocks,
                             const Descriptors &descriptors, SideEntries &entries)
    : image_(image),
      suspects_(suspects),
      blocks_(blocks),
      descriptors_(descriptors),
      entries_(entries),
      findings_([this](const char *text) {
          if (why_.empty()) why_ = text;
      }),
      objects_(findings_, blocks, descriptors, entries) {}

bool RecordSalvage::refuse(const std::string &why) {
    if (why_.empty()) why_ = why;
    return false;
}

bool RecordSalvage::is_suspect(const void *address, std::uint64_t length) const {
    return suspects_.has(image_.offset_of(address), length);
}

bool RecordSalvage::take(const TableType &type, kel_record *record) {
    why_.clear();
    const auto block = blocks_.at(record, type.record_bytes);
    if (!block) return refuse("its block is too small");
    if (suspects_.has(block->offset, type.record_bytes)) return refuse("it is in a damaged page");
    if (blocks_.is_claimed(block->offset)) return refuse("its block has another owner");
    blocks_.claim(record, 0, [] { return std::string(); });
    if (!take_object(type.object, record->object, "object")) return false;
    if (type.key && !take_object(*type.key, record->key_object, "key object")) return false;
    record->descriptor = type.record;
    if (entries_.has_data() && entries_.use_data(record) != nullptr) {
        clear(record->flags, ~unsigned{known_flags | KEL_RECORD_HD_MAPPED});
    } else {
        clear(record->flags, ~unsigned{known_flags});
    }
    if (record->ref_count == 0) record->ref_count = 1;
    return true;
}

bool RecordSalvage::take_object(const ObjectType &type, void *object, const char *what) {
    if (object == nullptr) return refuse(std::string("it has no ") + what);
    const auto where = [&] { return std::string("its ") + what; };
    const auto block = blocks_.at(object, type.used_lengths.front());
    if (!block) return refuse(where() + " is lost");
    if (suspects_.has(block->offset, block->size)) return refuse(where() + " is in a damaged page");
    if (blocks_.is_claimed(block->offset)) return refuse(where() + " has another owner, too");
    auto &head = *static_cast<kel_object *>(object);
    if (!mend_descriptor(head, type.type)) return refuse(where() + " is of another type");
    for (const Part &part : type.parts) {
        if (is_value(part.kind) || part.offset + sizeof(kel_enum_object) > block->size) continue;
        auto *inner = reinterpret_cast<kel_object *>(static_cast<char *>(object) + part.offset);
        // The maker of an older variant left it empty.
        if (inner->descriptor == nullptr) continue;
        if (!mend_descriptor(*inner, part.type)) return refuse(where() + " is of another type");
    }
    mend_state(type, head, *block);
    if (!objects_.check(type, object, *block, where)) return refuse(where() + " is damaged");
    if (has_suspect_text(type, object, *block)) {
        return refuse("a text of " + where() + " is in a damaged page");
    }
    blocks_.claim(object, 0, [] { return std::string(); });
    return true;
}

// A copy that can't be read any more is of the same type wherever it is referred to.
bool RecordSalvage::mend_descriptor(kel_object &head, const kel_type_info *constant) {
    const kel_type_info *found = head.descriptor;
    if (descriptors_.fit(found, constant) == Fit::right) return true;
    if (found == nullptr || descriptors_.readable(found) != nullptr) return false;
    const auto block = blocks_.around(found);
    if (block && blocks_.is_claimed(block->offset)) return false;
    if (lost_descriptors_.emplace(found, constant).first->second != constant) return false;
    head.descriptor = constant;
    return true;
}

// Without the entries that lead to its parts' states an object has none.
void RecordSalvage::mend_state(const ObjectType &type, kel_object &head, Allocator::Extent block) {
    const auto part_of = [&](const Part &part) {
        return reinterpret_cast<kel_object *>(reinterpret_cast<char *>(&head) + part.offset);
    };
    const auto lacks_entry = [&](const kel_object &each) {
        if ((each.flags & data_flags) == 0) return false;
        return !entries_.has_data() || entries_.use_data(&each) == nullptr;
    };
    const auto fits = [&](const Part &part) {
        return part.offset + sizeof(kel_enum_object) <= block.size;
    };
    bool is_complete = !lacks_entry(head);
    for (const Part &part : type.parts) {
        if (is_complete && fits(part)) is_complete = !lacks_entry(*part_of(part));
    }
    if (is_complete) return;
    ++without_state_;
    clear(head.flags, data_flags | OBJ_STATE_TRACKED);
    for (const Part &part : type.parts) {
        if (fits(part) && part_of(part)->descriptor != nullptr) {
            clear(part_of(part)->flags, data_flags);
        }
    }
}

// Requires: the object is sound.
bool RecordSalvage::has_suspect_text(const ObjectType &type, const void *object,
                                     Allocator::Extent block) {
    for (const Part &part : type.parts) {
        if (part.kind != PartKind::text || part.offset + sizeof(kel_vstring) > block.size) continue;
        const auto *place = static_cast<const char *>(object) + part.offset;
        const auto &string = *reinterpret_cast<const kel_vstring *>(place);
        if (string.descriptor == nullptr || is_inline(string)) continue;
        if (is_suspect(text_block(string), string.length)) return true;
    }
    return false;
}

}  // namespace tarnbase::runtime
