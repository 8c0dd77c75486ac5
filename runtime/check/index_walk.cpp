// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/index_walk.h"

#include <bitset>
#include <cstring>

#include "runtime/index/index_form.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

bool has_each_place(const IndexPage &page) {
    std::bitset<IndexPage::capacity> found;
    for (const std::uint8_t place : page.places) {
        if (place >= IndexPage::capacity) return false;
        found.set(place);
    }
    return found.all();
}

}  // namespace

void IndexWalk::run() {
    walk(static_cast<IndexPage *>(*anchor_), any_level);
    if (last_leaf_ != nullptr && last_leaf_->next != nullptr) {
        findings_.add(page_name(last_leaf_), "it is the last leaf, but has a next one");
    }
}

std::string IndexWalk::page_name(const IndexPage *page) const {
    return nodes_.name(nullptr) + ", the page of its index at offset " +
           std::to_string(blocks_.offset_of(page));
}

void IndexWalk::walk(IndexPage *page, int level) {
    if (!enter(page, level)) return;
    check_digests(*page);
    if (page->is_leaf()) {
        walk_leaf(*page);
    } else {
        walk_below(*page);
    }
}

bool IndexWalk::enter(IndexPage *page, int level) {
    const auto block = blocks_.claim(
        page, sizeof(IndexPage), [&] { return nodes_.name(nullptr) + ", a page of its index"; });
    if (!block) return false;
    const char *wrong = wrong_form(*page, level);
    if (wrong != nullptr) findings_.add(page_name(page), "%s", wrong);
    return wrong == nullptr;
}

const char *IndexWalk::wrong_form(const IndexPage &page, int level) {
    if (page.mark != index_page_mark) return "it isn't marked as a page";
    if (page.count == 0 || page.count > IndexPage::capacity) {
        return "its count of entries is wrong";
    }
    if (page.skip > longest_prefix) return "its prefix is too long";
    if (!has_each_place(page)) return "its places are wrong";
    if (level == any_level ? page.level >= most_index_levels : page.level != level) {
        return "its level is wrong";
    }
    return nullptr;
}

void IndexWalk::walk_below(IndexPage &page) {
    for (std::uint32_t slot = 0; slot < page.count; ++slot) {
        if (slot > 0) begin_page(page, slot);
        walk(page.page(slot), page.level - 1);
    }
}

// What the digest before a page says of the keys around it.
void IndexWalk::begin_page(const IndexPage &page, std::uint32_t slot) {
    Separator made{};
    made.length = page.skip + digest_bytes;
    std::memcpy(made.bytes.data(), page.prefix, page.skip);
    const std::uint64_t digest = __builtin_bswap64(page.digest(slot));
    std::memcpy(made.bytes.data() + page.skip, &digest, sizeof digest);
    if (has_last_key_ && std::memcmp(last_key_.data(), made.bytes.data(), made.length) > 0) {
        findings_.add(page_name(&page), "the key before its entry %u is greater than its digest",
                      slot);
    }
    ahead_.push_back(made);
}

void IndexWalk::walk_leaf(IndexPage &leaf) {
    check_links(leaf);
    constexpr std::uint32_t ahead = 4;
    for (std::uint32_t slot = 0; slot < leaf.count; ++slot) {
        if (slot + ahead < leaf.count) __builtin_prefetch(leaf.node(slot + ahead));
        kel_index_node *node = leaf.node(slot);
        if (!nodes_.enter(node)) {
            has_last_key_ = false;
            ahead_.clear();
            continue;
        }
        if (anchor_of(node) != anchor_) {
            findings_.add(nodes_.name(node), "its node is one of another index");
        }
        nodes_.visit(node);
        check_key(leaf, slot);
    }
}

void IndexWalk::check_links(IndexPage &leaf) {
    if (leaf.previous != last_leaf_) {
        findings_.add(page_name(&leaf), "its link to the leaf before is %p, expected %p",
                      static_cast<const void *>(leaf.previous),
                      static_cast<const void *>(last_leaf_));
    }
    if (last_leaf_ != nullptr && last_leaf_->next != &leaf) {
        findings_.add(page_name(last_leaf_), "its link to the next leaf is %p, expected %p",
                      static_cast<const void *>(last_leaf_->next),
                      static_cast<const void *>(&leaf));
    }
    last_leaf_ = &leaf;
}

void IndexWalk::check_digests(const IndexPage &page) {
    for (std::uint32_t slot = page.first_digest() + 1; slot < page.count; ++slot) {
        if (page.digest(slot - 1) <= page.digest(slot)) continue;
        findings_.add(page_name(&page), "its digest %u isn't in order", slot);
    }
}

// The digest of a node's key, in its leaf and in the pages above.
void IndexWalk::check_key(const IndexPage &leaf, std::uint32_t slot) {
    has_last_key_ = nodes_.get_key(leaf.node(slot), last_key_);
    if (!has_last_key_) return ahead_.clear();
    const unsigned char *key = last_key_.data();
    for (const Separator &each : ahead_) {
        if (std::memcmp(key, each.bytes.data(), each.length) >= 0) continue;
        findings_.add(nodes_.name(leaf.node(slot)),
                      "its key is less than the digest in a page above");
    }
    ahead_.clear();
    if (std::memcmp(key, leaf.prefix, leaf.skip) != 0) {
        findings_.add(nodes_.name(leaf.node(slot)),
                      "its key doesn't begin with the prefix of its leaf");
    } else if (number_of(key + leaf.skip) != leaf.digest(slot)) {
        findings_.add(nodes_.name(leaf.node(slot)), "its digest is 0x%llx, expected 0x%llx",
                      static_cast<Number>(leaf.digest(slot)),
                      static_cast<Number>(number_of(key + leaf.skip)));
    }
}

}  // namespace tarnbase::runtime
