// SPDX-License-Identifier: Apache-2.0
//
// The JSON document, a record a line (model/json.h gives the form of a record):
//
//   {"tarnbase":{"format":1,"tables":[
//   {"table":"tbl_ldap_conn","name":"ldap","records":[
//   {...},
//   {...}
//   ]}
//   ]}}
//
// A table that was opened by an id has "id" in place of "name".
#ifndef TARNCTL_EXCHANGE_JSON_WRITER_H
#define TARNCTL_EXCHANGE_JSON_WRITER_H

#include "exchange/writer.h"

namespace tarnctl {

class JsonWriter : public Writer {
 public:
    explicit JsonWriter(std::ostream &out);

    void begin_table(const Instance &instance) override;
    void write(const Record &record) override;
    void end_table() override;
    void end() override;

 private:
    std::ostream &out_;
    bool first_table_ = true;
    bool first_record_ = true;
};

}  // namespace tarnctl

#endif
