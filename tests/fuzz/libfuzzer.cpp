// SPDX-License-Identifier: Apache-2.0
// The entry points that libFuzzer calls, for one target per program.
#include <algorithm>
#include <vector>

#include "tests/fuzz/mutate.h"
#include "tests/fuzz/targets.h"

using tarnbase::fuzz::u8;

extern "C" int LLVMFuzzerTestOneInput(const u8 *data, std::size_t size);

int LLVMFuzzerTestOneInput(const u8 *data, std::size_t size) {
    tarnbase::fuzz::TARN_FUZZ_TARGET({data, size});
    return 0;
}

#ifdef TARN_FUZZ_STREAM

extern "C" std::size_t LLVMFuzzerMutate(u8 *data, std::size_t size, std::size_t limit);
extern "C" std::size_t LLVMFuzzerCustomMutator(u8 *data, std::size_t size, std::size_t limit,
                                               unsigned seed);
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const u8 *first, std::size_t first_size,
                                                 const u8 *second, std::size_t second_size, u8 *out,
                                                 std::size_t limit, unsigned seed);

namespace {

std::size_t copy_to(const std::vector<u8> &stream, u8 *out, std::size_t limit) {
    const std::size_t size = std::min(stream.size(), limit);
    std::copy_n(stream.begin(), size, out);
    return size;
}

}  // namespace

std::size_t LLVMFuzzerCustomMutator(u8 *data, std::size_t size, std::size_t limit, unsigned seed) {
    tarnbase::fuzz::Random random(seed);
    std::vector<u8> stream(data, data + size);
    tarnbase::fuzz::mutate_stream(stream, limit, random, [limit](std::vector<u8> &bytes) {
        const std::size_t length = bytes.size();
        bytes.resize(std::max(limit, length));
        bytes.resize(LLVMFuzzerMutate(bytes.data(), length, bytes.size()));
    });
    return copy_to(stream, data, limit);
}

std::size_t LLVMFuzzerCustomCrossOver(const u8 *first, std::size_t first_size, const u8 *second,
                                      std::size_t second_size, u8 *out, std::size_t limit,
                                      unsigned seed) {
    tarnbase::fuzz::Random random(seed);
    return copy_to(
        tarnbase::fuzz::cross_streams({first, first_size}, {second, second_size}, random), out,
        limit);
}

#endif
