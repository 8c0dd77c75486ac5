// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/schema_note.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t schemas_note = 4;
constexpr std::size_t digest_digits = 16;

// FNV-1a.
class Digest {
 public:
    void add(const void *bytes, std::size_t size) {
        const auto *each = static_cast<const unsigned char *>(bytes);
        for (std::size_t i = 0; i < size; ++i) {
            value_ = (value_ ^ each[i]) * 0x100000001b3ULL;
        }
    }
    std::uint64_t value() const { return value_; }

 private:
    std::uint64_t value_ = 0xcbf29ce484222325ULL;
};

std::uint64_t digest_of(const kel_module_record &module) {
    Digest digest;
    for (const kel_type_info *const *each = module.descriptors; *each != nullptr; ++each) {
        const kel_type_info &type = **each;
        digest.add(type.luid, sizeof type.luid);
        digest.add(type.name, ::strnlen(type.name, sizeof type.name));
        digest.add(type.kind, ::strnlen(type.kind, sizeof type.kind));
        const kel_variant_info &variants = *type.variant_info;
        for (int i = 0; i < variants.variant_count; ++i) {
            digest.add(&variants.variants[i].used_length, sizeof(std::uint32_t));
        }
    }
    return digest.value();
}

// Takes the first "MODULE:DIGEST" from a text; false: there is none.
bool take(std::string_view &text, std::string_view &module, std::string_view &digest) {
    const std::string_view item = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(item.size() + 1, text.size()));
    if (item.size() <= digest_digits) return false;
    module = item.substr(0, item.size() - digest_digits - 1);
    digest = item.substr(item.size() - digest_digits);
    return true;
}

std::string loaded_schemas() {
    std::string text;
    for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
         module = module->link_next) {
        char digits[digest_digits + 1];
        std::snprintf(digits, sizeof digits, "%016llx",
                      static_cast<unsigned long long>(digest_of(*module)));
        text += std::string(text.empty() ? "" : " ") + module->module_name + ":" + digits;
    }
    return text;
}

// The first module that both texts have with different digests.
std::string_view other_module(std::string_view noted, std::string_view own) {
    std::string_view module, digest, own_module, own_digest;
    while (take(noted, module, digest)) {
        std::string_view rest = own;
        while (take(rest, own_module, own_digest)) {
            if (module == own_module && digest != own_digest) return module;
        }
    }
    return {};
}

}  // namespace

void add_schemas(FrameBuilder &frame) {
    const std::string text = loaded_schemas();
    if (!text.empty()) frame.note(schemas_note, std::string_view(text).substr(0, most_note_bytes));
}

std::string other_schema(std::span<const char> frame) {
    OperationReader operations(frame);
    Operation operation;
    while (operations.next(operation)) {
        if (operation.kind != OperationKind::note || operation.offset != schemas_note) continue;
        const std::string_view noted(operation.bytes.data(), operation.bytes.size());
        return std::string(other_module(noted, loaded_schemas()));
    }
    return {};
}

}  // namespace tarnbase::runtime
