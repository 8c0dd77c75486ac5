/* SPDX-License-Identifier: Apache-2.0 */
// Loads what can be read of a store's files into an image: the newest checkpoint that can be read,
// or an older one that is whole if the log reaches further from it, and the frames after it.
// Nothing is written.
#ifndef TARNBASE_RUNTIME_SALVAGE_LENIENT_LOAD_H
#define TARNBASE_RUNTIME_SALVAGE_LENIENT_LOAD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "runtime/base/file.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/salvage/loss.h"
#include "runtime/salvage/suspects.h"
#include "runtime/store/image.h"

namespace tarnbase::runtime {

class LenientLoad {
 public:
    LenientLoad(const char *path, Image &image, Suspects &suspects, const ReportLoss &lost)
        : path_(path), image_(image), suspects_(suspects), lost_(lost) {}

    // Returns 0, or sets the error text: EBADMSG no checkpoint can be read; EINVAL not a store.
    std::uint32_t run();

 private:
    // A checkpoint that can be opened.
    struct Candidate {
        Checkpoint checkpoint;
        bool is_whole = false;
    };

    void read_control();
    std::vector<std::uint64_t> checkpoints() const;
    std::optional<Candidate> open(std::uint64_t position) const;
    std::uint64_t reach(const CheckpointHead &head) const;
    std::optional<Candidate> choose() const;
    std::uint32_t map(const CheckpointHead &head);
    void read_page(Checkpoint &checkpoint, std::uint64_t page, std::uint32_t checksum);
    void read_pages(Checkpoint &checkpoint);
    void apply_log(const CheckpointHead &head);
    std::uint64_t apply(std::span<const char> frame);

    const char *path_;
    Image &image_;
    Suspects &suspects_;
    const ReportLoss &lost_;
    File folder_;
    std::optional<StoreId> id_;               // of the control file
    std::optional<std::uint64_t> published_;  // the same
};

}  // namespace tarnbase::runtime

#endif
