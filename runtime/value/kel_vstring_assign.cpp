// SPDX-License-Identifier: Apache-2.0
// Where a string's bytes and the text that it owns are changed.
#include <cstddef>
#include <memory>
#include <new>

#include "runtime/base/errors.h"
#include "runtime/value/text_owner.h"
#include "runtime/value/vstring.h"
#include "tarnbase/embedded.h"

namespace {

using namespace tarn::runtime;

constexpr std::size_t body_offset = offsetof(kel_vstring, borrowed);
constexpr std::size_t body_length = sizeof(kel_vstring) - body_offset;

// A string without a header that shows `text`, which lies at `block` if it is too
// long to lie in the string.
kel_vstring show(std::string_view text, const char *block) {
    kel_vstring shown{};
    shown.length = static_cast<std::uint32_t>(text.size());
    if (is_inline(shown)) {
        if (!text.empty()) std::memcpy(shown.text.bytes, text.data(), text.size());
    } else {
        std::memcpy(shown.text.outside.prefix, text.data(), sizeof shown.text.outside.prefix);
        std::memcpy(shown.text.outside.block, &block, sizeof block);
    }
    return shown;
}

// All behind the header is one announced change.
void store_body(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                const kel_vstring &shown) {
    char *const body = reinterpret_cast<char *>(string) + body_offset;
    announce(handle, tx_id, body, body_length);
    std::memcpy(body, reinterpret_cast<const char *>(&shown) + body_offset, body_length);
}

// Whether `text` may lie in the text that the string owns and is about to lose.
bool may_be_own(const char *owned, std::string_view text) {
    const auto begin = reinterpret_cast<std::uintptr_t>(owned);
    return owned != nullptr && reinterpret_cast<std::uintptr_t>(text.data()) - begin < longest_text;
}

// A block with the text in it, which the string owns from now on. Null: no memory.
char *own_copy(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
               std::string_view text) {
    std::unique_ptr<char[]> kept;
    if (may_be_own(owned_text(handle, string), text)) {
        kept.reset(new (std::nothrow) char[text.size()]);
        if (kept == nullptr) return nullptr;
        std::memcpy(kept.get(), text.data(), text.size());
        text = {kept.get(), text.size()};
    }
    char *const block =
        allocate_text(handle, tx_id, string, static_cast<std::uint32_t>(text.size()));
    if (block != nullptr) std::memcpy(block, text.data(), text.size());
    return block;
}

// Without memory the string keeps what it shows, unless that is the very text to copy,
// which is another's: its bytes were copied over this one. Then it becomes empty.
void assign_long(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err) {
    const char *const block = own_copy(handle, tx_id, string, text);
    if (block != nullptr) {
        return store_body(handle, tx_id, string, show({block, text.size()}, block));
    }
    const bool shows_text = !is_inline(*string) && text_block(*string) == text.data();
    if (shows_text && owned_text(handle, string) != text.data()) drop_text(handle, tx_id, string);
    report(handle, err, ENOMEM);
}

}  // namespace

namespace tarn::runtime {

void assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err) {
    if (string == nullptr) return report(handle, err, ENOENT);
    if (text.size() > longest_text) return report(handle, err, EINVAL);
    if (text.size() > KEL_VSTRING_INLINE) return assign_long(handle, tx_id, string, text, err);
    store_body(handle, tx_id, string, show(text, nullptr));
    release_text(handle, tx_id, string);
}

void drop_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string) {
    if (string->length != 0) store_body(handle, tx_id, string, {});
    release_text(handle, tx_id, string);
}

}  // namespace tarn::runtime

void kel_vstring_assign(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                        const void *bytes, std::uint32_t length, std::uint32_t *err) {
    if (*err != 0) return;
    if (bytes == nullptr && length != 0) return report(handle, err, ENOENT);
    assign_text(handle, tx_id, string, {static_cast<const char *>(bytes), length}, err);
}

void kel_vstring_assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                             const char *text, std::uint32_t *err) {
    if (*err != 0) return;
    if (text == nullptr) return report(handle, err, ENOENT);
    assign_text(handle, tx_id, string, text, err);
}

void kel_vstring_refer(kel_vstring *string, const void *bytes, std::uint32_t length) {
    const auto *text = static_cast<const char *>(bytes);
    *string = show({text, text == nullptr ? 0 : length}, text);
    string->descriptor = &_kel_vstring_type_info_internal;
    string->borrowed = is_inline(*string) ? 0 : 1;
}

const char *kel_vstring_bytes(const kel_vstring *string, std::uint32_t *length) {
    const std::string_view text = text_of(string);
    if (length != nullptr) *length = static_cast<std::uint32_t>(text.size());
    return text.data() == nullptr ? "" : text.data();
}
