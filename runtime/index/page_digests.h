/* SPDX-License-Identifier: Apache-2.0 */
// The digests of a page, and the prefix with which its keys begin.
#ifndef TARNBASE_RUNTIME_INDEX_PAGE_DIGESTS_H
#define TARNBASE_RUNTIME_INDEX_PAGE_DIGESTS_H

#include "runtime/base/announce.h"
#include "runtime/index/index_page.h"

namespace tarnbase::runtime {

// Announces bytes if there is a log.
void announce_bytes(WriteLog log, void *address, std::uint64_t length);

// Shortens the prefix of a page to the part that `key` begins with too.
void fit_prefix(WriteLog log, IndexPage &page, const KeyBytes &key);
// Shortens the prefix of a page to `skip` bytes. The digests follow from the old ones.
void shorten_prefix(WriteLog log, IndexPage &page, std::uint32_t skip);
// Number of bytes that the prefixes of two pages have in common.
std::uint32_t common_prefix(const IndexPage &a, const IndexPage &b);

// Makes prefix and digests of a new page from the keys of its entries.
void make_digests(IndexPage &page, const KeyOrder &order);
// The same for a page in use, if many digests are equal and a longer prefix distinguishes them.
void improve_digests(WriteLog log, IndexPage &page, const KeyOrder &order);

}  // namespace tarnbase::runtime

#endif
