// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/descriptors.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "runtime/value/descriptor.h"

namespace tarnbase::runtime {

namespace {

constexpr std::string_view kinds[] = {"type", "enum", "table", "table_record"};

template <std::size_t Size>
bool ends(const char (&text)[Size]) {
    return std::memchr(text, 0, Size) != nullptr;
}

std::string luid_text_of(const std::uint8_t (&luid)[16]) {
    std::string text;
    for (const std::uint8_t byte : luid) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

}  // namespace

Descriptors::Descriptors(Blocks &blocks, Findings &findings)
    : blocks_(blocks), findings_(findings) {
    for (const ValueType *type = ValueType::first(); type != nullptr; type = type->next()) {
        constants_.push_back(&type->descriptor());
    }
    for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
         module = module->link_next) {
        for (const kel_type_info *const *each = module->descriptors; *each != nullptr; ++each) {
            constants_.push_back(*each);
        }
    }
    readable_.insert(constants_.begin(), constants_.end());
}

void Descriptors::add_copy(const std::string &luid_text, const kel_type_info_copy *copy) {
    const std::string where = "the descriptor " + luid_text;
    if (!blocks_.claim(copy, sizeof *copy, [&] { return where; })) return;
    const std::uint64_t before = findings_.count();
    check_info(where, luid_text, copy->info);
    const bool has_variants = check_variants(where, copy->info);
    if (!has_variants || findings_.count() != before) return;
    copies_.emplace(luid_text, &copy->info);
    readable_.insert(&copy->info);
}

void Descriptors::check_info(const std::string &where, const std::string &luid_text,
                             const kel_type_info &info) {
    if (info.magic != KEL_TYPE_INFO_MAGIC) {
        findings_.add(where, "its first word is 0x%x, expected 0x%x", info.magic,
                      KEL_TYPE_INFO_MAGIC);
    }
    if (luid_text_of(info.luid) != luid_text ||
        std::string_view(info.luid_text, sizeof info.luid_text - 1) != luid_text ||
        !ends(info.luid_text)) {
        findings_.add(where, "it contains another LUID, %s", luid_text_of(info.luid).c_str());
    }
    if (!ends(info.name) || !ends(info.module_name)) {
        findings_.add(where, "its name has no end");
    }
    if (!ends(info.kind) ||
        std::find(std::begin(kinds), std::end(kinds), info.kind) == std::end(kinds)) {
        findings_.add(where, "its kind is none of type, enum, table and table_record");
    }
    if (info.type_slot != KEL_TYPE_SLOT_NONE || info.store_private == 0) {
        findings_.add(where, "it isn't marked as a store's own");
    }
}

bool Descriptors::check_variants(const std::string &where, const kel_type_info &info) {
    const kel_variant_info *variants = info.variant_info;
    // Without memory a copy has none; it isn't used then.
    if (variants == nullptr) return false;
    if (!blocks_.claim(variants, sizeof *variants, [&] { return where + ", its variants"; })) {
        return false;
    }
    if (variants->variant_count <= 0) {
        findings_.add(where, "it has %d variants, expected one or more", variants->variant_count);
        return false;
    }
    const auto count = static_cast<std::uint64_t>(variants->variant_count);
    if (!blocks_.claim(variants->variants, count * sizeof(kel_variant_usage),
                       [&] { return where + ", the counters of its variants"; })) {
        return false;
    }
    std::uint32_t used = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        if (variants->variants[i].used_length < used) {
            findings_.add(where, "variant %llu uses %u bytes, fewer than the one before",
                          static_cast<unsigned long long>(i), variants->variants[i].used_length);
        }
        used = variants->variants[i].used_length;
    }
    return true;
}

const kel_type_info *Descriptors::copy_of(const kel_type_info *constant) const {
    const auto [found, is_new] = copies_of_.try_emplace(constant, nullptr);
    if (is_new) {
        const auto copy = copies_.find(constant->luid_text);
        if (copy != copies_.end()) found->second = copy->second;
    }
    return found->second;
}

Fit Descriptors::fit(const kel_type_info *found, const kel_type_info *constant) const {
    if (found == constant) return Fit::right;
    if (found == nullptr) return Fit::wrong;
    if (is_foreign(found)) return Fit::foreign;
    return blocks_.is_inside(found) && found == copy_of(constant) ? Fit::right : Fit::wrong;
}

const kel_type_info *Descriptors::with_luid_text(const std::string &luid_text) const {
    const auto copy = copies_.find(luid_text);
    if (copy != copies_.end()) return copy->second;
    const auto constant = std::find_if(constants_.begin(), constants_.end(), [&](const auto *each) {
        return luid_text == each->luid_text;
    });
    return constant != constants_.end() ? *constant : nullptr;
}

bool Descriptors::are_old_variants(const char *bytes, std::uint64_t length) const {
    for (const auto &[text, copy] : copies_) {
        const kel_variant_info &now = *copy->variant_info;
        std::uint64_t same = 0;
        for (int i = 0; i < now.variant_count; ++i, ++same) {
            kel_variant_usage old{};
            if ((same + 1) * sizeof old > length) break;
            std::memcpy(&old, bytes + same * sizeof old, sizeof old);
            const kel_variant_usage &usage = now.variants[i];
            if (old.variant != usage.variant || old.used_length != usage.used_length ||
                old.alloc_slop != usage.alloc_slop) {
                break;
            }
        }
        if (same == 0 || same == static_cast<std::uint64_t>(now.variant_count)) continue;
        const char *rest = bytes + same * sizeof(kel_variant_usage);
        if (std::all_of(rest, bytes + length, [](char byte) { return byte == 0; })) return true;
    }
    return false;
}

}  // namespace tarnbase::runtime
