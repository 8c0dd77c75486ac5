-- SPDX-License-Identifier: Apache-2.0
-- Made by tarnc from sample.tarn; changes belong there.

-- Enumerators in order, and the value of the first one. On the wire they count from 0.
local enumerations = {}
enumerations["color"] = {
    first_value = 1,
    names = {
        "COLOR_RED",
        "COLOR_BLUE",
    },
}

-- Fields in the order of the wire form. A field's type is that of the schema.
local structures = {}
structures["st_corner"] = {
    name = "st_corner",
    meaning = "where two lines meet",
    fields = {
        { name = "x", kind = "int64", type = "int64", elements = 0,
          first_variant = 0, unit = "millimetres",
          meaning = "to the right" },
        { name = "register", kind = "u_int8", type = "u_int8", elements = 0,
          first_variant = 0, unit = "",
          meaning = "its name is a keyword of C" },
    },
}
structures["st_shape"] = {
    name = "st_shape",
    meaning = "a shape on a plane",
    fields = {
        { name = "sides", kind = "u_int8", type = "u_int8", elements = 0,
          first_variant = 0, unit = "",
          meaning = "sides of the shape" },
        { name = "number", kind = "u_int32", type = "u_int32", elements = 0,
          first_variant = 0, unit = "",
          meaning = "number of the shape; a key" },
        { name = "color", kind = "enumeration", type = "color", elements = 0,
          first_variant = 0, unit = "",
          meaning = "named as its type" },
        { name = "first", kind = "structure", type = "st_corner", elements = 0,
          first_variant = 0, unit = "",
          meaning = "the corner to begin at" },
        { name = "pattern", kind = "array", type = "u_int8", elements = 4,
          first_variant = 0, unit = "",
          meaning = "how the sides are dashed" },
        { name = "filled", kind = "boolean", type = "kel_boolean", elements = 0,
          first_variant = 1, unit = "",
          meaning = "whether the inside is painted" },
    },
}
structures["shape_key"] = {
    name = "shape_key",
    meaning = "names a shape among its layer's",
    fields = {
        { name = "layer", kind = "vstring", type = "kel_vstring", elements = 0,
          first_variant = 0, unit = "",
          meaning = "the layer's name" },
        { name = "owner", kind = "address", type = "ip_address", elements = 0,
          first_variant = 0, unit = "",
          meaning = "the machine that draws it" },
    },
}

-- Tables by LUID: the types of the data object and, if there is one, of the key object.
local tables = {}
tables["0a0b0c0d0e0f01020304050607080900"] = {
    name = "tbl_shape",
    object = "st_shape",
}
tables["00000000000000000000000000000001"] = {
    name = "tbl_layer_shape",
    object = "st_shape",
    key = "shape_key",
}

-- Kinds of field: their group, the bytes of a number, and whether it is signed.
local kinds = {}
kinds["u_int8"] = { group = "number", size = 1, is_signed = false }
kinds["u_int16"] = { group = "number", size = 2, is_signed = false }
kinds["u_int32"] = { group = "number", size = 4, is_signed = false }
kinds["u_int64"] = { group = "number", size = 8, is_signed = false }
kinds["int32"] = { group = "number", size = 4, is_signed = true }
kinds["int64"] = { group = "number", size = 8, is_signed = true }
kinds["boolean"] = { group = "boxed", size = 16, is_signed = false }
kinds["enumeration"] = { group = "enumeration", size = 16, is_signed = false }
kinds["vstring"] = { group = "object", size = 32, is_signed = false }
kinds["address"] = { group = "object", size = 32, is_signed = false }
kinds["structure"] = { group = "structure", size = 0, is_signed = false }
kinds["array"] = { group = "array", size = 1, is_signed = false }
