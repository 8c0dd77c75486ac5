// SPDX-License-Identifier: Apache-2.0
#include "digest.h"

#include <nettle/hmac.h>
#include <nettle/md5.h>
#include <nettle/memops.h>

namespace tarn_radius {

Digest md5(std::initializer_list<Bytes> parts) {
    md5_ctx context;
    md5_init(&context);
    for (const Bytes part : parts) md5_update(&context, part.size(), part.data());
    Digest digest;
    md5_digest(&context, digest.size(), digest.data());
    return digest;
}

Digest hmac_md5(std::string_view key, std::initializer_list<Bytes> parts) {
    hmac_md5_ctx context;
    hmac_md5_set_key(&context, key.size(), bytes_of(key).data());
    for (const Bytes part : parts) hmac_md5_update(&context, part.size(), part.data());
    Digest digest;
    hmac_md5_digest(&context, digest.size(), digest.data());
    return digest;
}

bool are_equal(const Digest &one, Bytes other) {
    return other.size() == one.size() && memeql_sec(one.data(), other.data(), one.size()) != 0;
}

}  // namespace tarn_radius
