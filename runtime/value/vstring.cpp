// SPDX-License-Identifier: Apache-2.0
#include "runtime/value/vstring.h"

#include <cstddef>
#include <memory>
#include <new>

#include "runtime/base/announce.h"
#include "runtime/base/errors.h"
#include "runtime/text/append.h"
#include "runtime/value/text_owner.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t body_offset = offsetof(kel_vstring, borrowed);
constexpr std::size_t body_length = sizeof(kel_vstring) - body_offset;

// A string without a header and with this text, which is at `block` if it is too long to
// be inline.
kel_vstring string_with(std::string_view text, const char *block) {
    kel_vstring content{};
    content.length = static_cast<std::uint32_t>(text.size());
    if (is_inline(content)) {
        if (!text.empty()) std::memcpy(content.text.bytes, text.data(), text.size());
    } else {
        std::memcpy(content.text.outside.prefix, text.data(), sizeof content.text.outside.prefix);
        std::memcpy(content.text.outside.block, &block, sizeof block);
    }
    return content;
}

// Everything after the header is one announced change.
void store_body(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                const kel_vstring &content) {
    char *const body = reinterpret_cast<char *>(string) + body_offset;
    WriteLog{handle, tx_id}.announce(body, body_length);
    std::memcpy(body, reinterpret_cast<const char *>(&content) + body_offset, body_length);
}

// The same for a text that is inline, which is copied to its place. To build a string and copy that
// would wait for the stores that have just built it.
void store_inline(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                  std::string_view text) {
    const auto begin = reinterpret_cast<std::uintptr_t>(string);
    if (reinterpret_cast<std::uintptr_t>(text.data()) - begin < sizeof *string)
        return store_body(handle, tx_id, string, string_with(text, nullptr));
    char *const body = reinterpret_cast<char *>(string) + body_offset;
    WriteLog{handle, tx_id}.announce(body, body_length);
    std::memset(body, 0, body_length);
    string->length = static_cast<std::uint32_t>(text.size());
    append(string->text.bytes, text.data(), string->length);
}

// A block with the text, which the string owns from now on. Null: no memory.
char *own_copy(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
               std::string_view text) {
    std::unique_ptr<char[]> copy;
    if (may_own(handle, string, text.data())) {  // and is about to free it
        copy.reset(new (std::nothrow) char[text.size()]);
        if (copy == nullptr) return nullptr;
        std::memcpy(copy.get(), text.data(), text.size());
        text = {copy.get(), text.size()};
    }
    char *const block =
        allocate_text(handle, tx_id, string, static_cast<std::uint32_t>(text.size()));
    if (block != nullptr) std::memcpy(block, text.data(), text.size());
    return block;
}

// Whether the string has this long text in a block of its own. Another block may be gone.
bool has_own(kel_handle *handle, const kel_vstring &string, std::string_view text) {
    return string.length == text.size() && owned_text(handle, &string) == text_block(string) &&
           text_of(&string) == text;
}

// A text that the string has already stays where it is, and is announced as any other one.
// Without memory the string is unchanged, unless it has the text to copy without owning it,
// because another string's bytes were copied over it. Then it becomes empty.
void assign_long(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err) {
    const char *const block = has_own(handle, *string, text)
                                  ? text_block(*string)
                                  : own_copy(handle, tx_id, string, text);
    if (block != nullptr) {
        return store_body(handle, tx_id, string, string_with({block, text.size()}, block));
    }
    const bool has_text = !is_inline(*string) && text_block(*string) == text.data();
    if (has_text && owned_text(handle, string) != text.data()) drop_text(handle, tx_id, string);
    report_error(handle, err, ENOMEM);
}

}  // namespace

void assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                 std::string_view text, std::uint32_t *err) {
    if (string == nullptr) return report_error(handle, err, ENOENT);
    if (text.size() > longest_text) return report_error(handle, err, EINVAL);
    if (text.size() > KEL_VSTRING_INLINE) return assign_long(handle, tx_id, string, text, err);
    store_inline(handle, tx_id, string, text);
    release_text(handle, tx_id, string);
}

void drop_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string) {
    if (string->length != 0) store_body(handle, tx_id, string, {});
    release_text(handle, tx_id, string);
}

void borrow_text(kel_vstring *string, std::string_view text) {
    *string = string_with(text, text.data());
    string->descriptor = &_kel_vstring_type_info_internal;
    string->borrowed = is_inline(*string) ? 0 : 1;
}

}  // namespace tarnbase::runtime
