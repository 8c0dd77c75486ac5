# SPDX-License-Identifier: Apache-2.0
# The objects of forms_bench: a string with 18 numbers, and one with 40 and 1440 bytes.
@0xb3a1f6d2c4e59807;
using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("forms_capnp");

struct Small {
  name @0 :Text;
  f1 @1 :UInt32;
  f2 @2 :UInt32;
  f3 @3 :UInt32;
  f4 @4 :UInt32;
  f5 @5 :UInt32;
  f6 @6 :UInt32;
  f7 @7 :UInt32;
  f8 @8 :UInt32;
  f9 @9 :UInt32;
  f10 @10 :UInt32;
  f11 @11 :UInt32;
  f12 @12 :UInt32;
  f13 @13 :UInt32;
  f14 @14 :UInt32;
  f15 @15 :UInt32;
  f16 @16 :UInt32;
  f17 @17 :UInt32;
  f18 @18 :UInt32;
}

struct Large {
  name @0 :Text;
  f1 @1 :UInt32;
  f2 @2 :UInt32;
  f3 @3 :UInt32;
  f4 @4 :UInt32;
  f5 @5 :UInt32;
  f6 @6 :UInt32;
  f7 @7 :UInt32;
  f8 @8 :UInt32;
  f9 @9 :UInt32;
  f10 @10 :UInt32;
  f11 @11 :UInt32;
  f12 @12 :UInt32;
  f13 @13 :UInt32;
  f14 @14 :UInt32;
  f15 @15 :UInt32;
  f16 @16 :UInt32;
  f17 @17 :UInt32;
  f18 @18 :UInt32;
  f19 @19 :UInt32;
  f20 @20 :UInt32;
  f21 @21 :UInt32;
  f22 @22 :UInt32;
  f23 @23 :UInt32;
  f24 @24 :UInt32;
  f25 @25 :UInt32;
  f26 @26 :UInt32;
  f27 @27 :UInt32;
  f28 @28 :UInt32;
  f29 @29 :UInt32;
  f30 @30 :UInt32;
  f31 @31 :UInt32;
  f32 @32 :UInt32;
  f33 @33 :UInt32;
  f34 @34 :UInt32;
  f35 @35 :UInt32;
  f36 @36 :UInt32;
  f37 @37 :UInt32;
  f38 @38 :UInt32;
  f39 @39 :UInt32;
  f40 @40 :UInt32;
  minute @41 :Data;
}
