// SPDX-License-Identifier: Apache-2.0
//
// The JSON of the YANG module that tarnc writes (RFC 7951), a record a line:
//
//   {"tarnbase:tables":{"table":[
//   {"name":"ldap","tbl_ldap_conn":[
//   {"tenant":0,"source":1,"fields":{"sname":"ldap1.example.net","num_conns":7}}
//   ]}
//   ]}}
//
// A record has the members of model/json.h, but numbers of 64 bits are strings, an empty address is
// left out, and state flags are a list: "state":[{"path":"num_conns","flag":2}].
#ifndef TARNCTL_EXCHANGE_YANG_WRITER_H
#define TARNCTL_EXCHANGE_YANG_WRITER_H

#include <string>

#include "exchange/writer.h"

namespace tarnctl {

class YangWriter : public Writer {
 public:
    YangWriter(std::ostream &out, Unfit unfit);

    void begin_table(const Instance &instance) override;
    void write(const Record &record) override;
    void end_table() override;
    void end() override;

 private:
    std::ostream &out_;
    Unfit unfit_;
    std::string table_;
    bool first_table_ = true;
    bool first_record_ = true;
};

}  // namespace tarnctl

#endif
