// SPDX-License-Identifier: Apache-2.0
#ifndef TARNCTL_EXCHANGE_FRAMES_WRITER_H
#define TARNCTL_EXCHANGE_FRAMES_WRITER_H

#include <string>

#include "exchange/writer.h"

namespace tarnctl {

// Writes the document that frames.h describes.
class FramesWriter : public Writer {
 public:
    explicit FramesWriter(std::ostream &out);

    void begin_table(const Instance &instance) override;
    void write(const Record &record) override;
    void end_table() override {}
    void end() override;

 private:
    std::ostream &out_;
    std::string buffer_;
    std::string table_;
    uint64_t records_ = 0;
};

}  // namespace tarnctl

#endif
