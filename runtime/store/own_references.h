/* SPDX-License-Identifier: Apache-2.0 */
// The references that this process has to records. No checkpoint and no frame contains them, so
// they are counted again when an image is loaded anew.
#ifndef TARNBASE_RUNTIME_STORE_OWN_REFERENCES_H
#define TARNBASE_RUNTIME_STORE_OWN_REFERENCES_H

#include <cstdint>
#include <vector>

#include "runtime/store/image.h"
#include "tarnbase/record.h"

namespace tarnbase::runtime {

class OwnReferences {
 public:
    // Those to the records of an image; none if it isn't loaded yet.
    explicit OwnReferences(const Image &image);
    // Counts them in the records that are still there.
    void restore(Image &image) const;

 private:
    struct Counted {
        std::uint64_t offset;
        const kel_type_info *descriptor;
        const kel_table *table;
        const void *object;
        std::uint32_t count;
    };
    void add_page(const Image &image, std::uint64_t number);

    std::vector<Counted> counted_;
};

}  // namespace tarnbase::runtime

#endif
