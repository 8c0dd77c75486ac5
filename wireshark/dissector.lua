-- SPDX-License-Identifier: Apache-2.0
-- Shows records in their wire form, as UDP datagrams or in a TCP stream. A datagram may have
-- several records, one after the other.

local proto = Proto("tarnbase", "Tarnbase record")

local header_size = 43 -- message header and LUID
local marker = "bcffffffffffff"
local state_flag, trace_flag = 8, 32

local shown = {
    stamp = ProtoField.uint32("tarnbase.stamp", "stamp", base.DEC, nil, nil,
        "stamp of the handle that wrote the record"),
    length = ProtoField.uint32("tarnbase.length", "length", base.DEC, nil, nil,
        "bytes of the record, header included"),
    has_state = ProtoField.bool("tarnbase.has_state", "has state", base.NONE, nil, nil,
        "state bytes follow the fields"),
    luid = ProtoField.bytes("tarnbase.luid", "LUID", base.NONE, "identifies the table"),
    table = ProtoField.string("tarnbase.table", "table"),
    variant = ProtoField.int8("tarnbase.variant", "variant", base.DEC, nil, nil,
        "a negative one has no fields"),
    flags = ProtoField.uint8("tarnbase.flags", "flags", base.HEX),
    flag_state = ProtoField.bool("tarnbase.flags.state", "state bytes", 8, nil, state_flag),
    flag_trace = ProtoField.bool("tarnbase.flags.trace", "trace correlation", 8, nil, trace_flag),
    jump = ProtoField.uint32("tarnbase.jump", "jump", base.DEC, nil, nil,
        "bytes from here to the end of the object"),
    trace = ProtoField.bytes("tarnbase.trace", "trace correlation"),
    state = ProtoField.uint8("tarnbase.state", "state", base.DEC, nil, nil, "state of the field"),
    states = ProtoField.bytes("tarnbase.states", "states", base.NONE, "states of the elements"),
    newer = ProtoField.bytes("tarnbase.newer", "fields of a newer variant"),
}
for _, field in pairs(shown) do table.insert(proto.fields, field) end

local expert = {
    short = ProtoExpert.new("tarnbase.short", "The bytes end too early",
        expert.group.MALFORMED, expert.severity.ERROR),
    table = ProtoExpert.new("tarnbase.unknown_table", "No table has this LUID",
        expert.group.UNDECODED, expert.severity.WARN),
    enumerator = ProtoExpert.new("tarnbase.unknown_enumerator",
        "The enumeration has no such number", expert.group.PROTOCOL, expert.severity.WARN),
    family = ProtoExpert.new("tarnbase.unknown_family", "The address family is not 0, 4 or 6",
        expert.group.MALFORMED, expert.severity.ERROR),
    rest = ProtoExpert.new("tarnbase.rest", "Bytes are left after the record's objects",
        expert.group.PROTOCOL, expert.severity.WARN),
}
proto.experts = { expert.short, expert.table, expert.enumerator, expert.family, expert.rest }

-- The fields of the schema

local function enumerators(name)
    local values, enumeration = {}, enumerations[name]
    for i, enumerator in ipairs(enumeration.names) do
        values[enumeration.first_value + i - 1] = enumerator
    end
    return values
end

local function number_field(kind)
    return ProtoField[(kind.is_signed and "int" or "uint") .. 8 * kind.size]
end

-- Each of them makes the fields that show a field of its group.
local makers = {
    number = function(filter, label, field)
        return { number_field(kinds[field.kind])(filter, label, base.DEC, nil, nil, field.meaning) }
    end,
    boxed = function(filter, label, field)
        return { ProtoField.bool(filter, label, base.NONE, nil, nil, field.meaning) }
    end,
    enumeration = function(filter, label, field)
        return { ProtoField.uint32(filter, label, base.DEC, enumerators(field.type), nil,
            field.meaning) }
    end,
    structure = function(filter, label, field)
        return { ProtoField.none(filter, label, field.meaning) }
    end,
    array = function(filter, label, field)
        return { ProtoField.bytes(filter, label, base.NONE, field.meaning) }
    end,
    vstring = function(filter, label, field)
        return { ProtoField.string(filter, label, base.UNICODE, field.meaning) }
    end,
    address = function(filter, label, field)
        return {
            ProtoField.string(filter, label, base.UNICODE, field.meaning),
            ipv4 = ProtoField.ipv4(filter .. ".ipv4", label, field.meaning),
            ipv6 = ProtoField.ipv6(filter .. ".ipv6", label, field.meaning),
        }
    end,
}

for _, structure in pairs(structures) do
    structure.shown = ProtoField.none("tarnbase." .. structure.name, structure.name,
        structure.meaning)
    table.insert(proto.fields, structure.shown)
    for _, field in ipairs(structure.fields) do
        local filter = "tarnbase." .. structure.name .. "." .. field.name
        local label = field.name
        if field.unit ~= "" then label = label .. " [" .. field.unit .. "]" end
        field.group = kinds[field.kind].group
        local make = makers[field.group] or makers[field.kind]
        field.shown = make(filter, label, field)
        for _, each in pairs(field.shown) do table.insert(proto.fields, each) end
    end
end

-- Reading

-- Bytes that are read in order, up to a limit. A read beyond it ends the dissection of the record.
local Cursor = {}
Cursor.__index = Cursor

local function cursor_on(tvb)
    return setmetatable({ tvb = tvb, at = 0, limit = tvb:len() }, Cursor)
end

function Cursor:take(size, tree)
    if size > self.limit - self.at then
        local left = self.tvb:range(self.at, self.limit - self.at)
        tree:add_tvb_expert_info(expert.short, left, string.format(
            "%d bytes are left, %d were expected", self.limit - self.at, size))
        error({ is_reported = true })
    end
    self.at = self.at + size
    return self.tvb:range(self.at - size, size)
end

local dissect_object

-- Each of them shows a field of its group, and returns the item.
local readers = {
    number = function(cursor, tree, field)
        return tree:add_le(field.shown[1], cursor:take(kinds[field.kind].size, tree))
    end,
    boxed = function(cursor, tree, field)
        return tree:add(field.shown[1], cursor:take(1, tree))
    end,
    enumeration = function(cursor, tree, field)
        cursor:take(1, tree) -- an enumeration has one variant
        local bytes = cursor:take(4, tree)
        local enumeration = enumerations[field.type]
        local value = (bytes:le_uint() + enumeration.first_value) % 0x100000000
        local item = tree:add(field.shown[1], bytes, value)
        if enumeration.names[bytes:le_uint() + 1] == nil then
            item:add_proto_expert_info(expert.enumerator)
        end
        return item
    end,
    structure = function(cursor, tree, field)
        return dissect_object(cursor, tree, field.shown[1], structures[field.type])
    end,
    array = function(cursor, tree, field, has_state)
        local item = tree:add(field.shown[1], cursor:take(field.elements, tree))
        if has_state then
            item:add_le(shown.state, cursor:take(1, tree))
            item:add(shown.states, cursor:take(field.elements, tree))
        end
        return item
    end,
    vstring = function(cursor, tree, field)
        local size = cursor:take(4, tree):le_uint()
        local bytes = cursor:take(size, tree)
        return tree:add(field.shown[1], bytes, bytes:string(ENC_UTF_8))
    end,
    address = function(cursor, tree, field)
        local family = cursor:take(1, tree)
        if family:uint() == 4 then
            return tree:add(field.shown.ipv4, cursor:take(4, tree))
        elseif family:uint() == 6 then
            return tree:add(field.shown.ipv6, cursor:take(16, tree))
        end
        local item = tree:add(field.shown[1], family, "none")
        if family:uint() ~= 0 then
            item:add_proto_expert_info(expert.family)
            error({ is_reported = true })
        end
        return item
    end,
}

local function dissect_fields(cursor, tree, structure, variant, has_state)
    for _, field in ipairs(structure.fields) do
        if field.first_variant > variant or cursor.at == cursor.limit then return end
        local read = readers[field.group] or readers[field.kind]
        local item = read(cursor, tree, field, has_state)
        if has_state and field.group ~= "array" then
            item:add_le(shown.state, cursor:take(1, tree))
        end
    end
end

dissect_object = function(cursor, parent, shown_as, structure)
    local start, outer_limit = cursor.at, cursor.limit
    local tree = parent:add(shown_as, cursor.tvb:range(start, 0))
    local variant = cursor:take(1, tree)
    tree:add_le(shown.variant, variant)
    local flags = cursor:take(1, tree)
    local flags_item = tree:add_le(shown.flags, flags)
    flags_item:add_le(shown.flag_state, flags)
    flags_item:add_le(shown.flag_trace, flags)
    if flags:bitfield(2, 1) == 1 then tree:add(shown.trace, cursor:take(9, tree)) end
    local jump = cursor:take(4, tree)
    tree:add_le(shown.jump, jump)
    local body = math.max(jump:le_uint(), 4) - 4
    cursor:take(body, tree)
    local object_end = cursor.at
    tree:set_len(object_end - start)
    cursor.at, cursor.limit = object_end - body, object_end
    dissect_fields(cursor, tree, structure, variant:le_int(), flags:bitfield(4, 1) == 1)
    if cursor.at < object_end then tree:add(shown.newer, cursor:take(object_end - cursor.at, tree)) end
    cursor.limit = outer_limit
    return tree
end

-- Shows a record. Returns the name of its table.
local function dissect_record(tvb, pinfo, parent)
    local tree = parent:add(proto, tvb:range())
    local cursor = cursor_on(tvb)
    local header = cursor:take(header_size, tree)
    tree:add_le(shown.has_state, header:range(7, 1))
    tree:add_le(shown.stamp, header:range(8, 4))
    tree:add_le(shown.length, header:range(12, 4))
    local luid = header:range(27, 16)
    local luid_item = tree:add(shown.luid, luid)
    local of = tables[luid:bytes():tohex(true)]
    if of == nil then
        luid_item:add_proto_expert_info(expert.table)
        return "unknown table"
    end
    tree:append_text(": " .. of.name)
    tree:add(shown.table, luid, of.name):set_generated()
    for _, name in ipairs({ of.object, of.key }) do
        dissect_object(cursor, tree, structures[name].shown, structures[name])
    end
    if cursor.at < cursor.limit then
        tree:add_tvb_expert_info(expert.rest, cursor:take(cursor.limit - cursor.at, tree))
    end
    return of.name
end

-- Like it, also if the record is damaged: the item then says so.
local function dissect_any_record(tvb, pinfo, parent)
    local is_whole, result = pcall(dissect_record, tvb, pinfo, parent)
    if is_whole then return result end
    if type(result) ~= "table" then error(result) end
    return "malformed record"
end

local function begins_record(tvb)
    return tvb:len() >= 7 and tvb:range(0, 7):bytes():tohex(true) == marker
end

-- The bytes of the record that begins at `at`, as far as they are there.
local function size_at(tvb, at)
    local left = tvb:len() - at
    if left < 16 then return left end
    return math.min(math.max(tvb:range(at + 12, 4):le_uint(), header_size), left)
end

-- Of a packet with the end of one record and others, Wireshark joins two such texts.
local function show_columns(pinfo, names)
    pinfo.cols.protocol = "TARNBASE"
    pinfo.cols.info = table.concat(names, " ") .. " "
end

local function dissect_datagram(tvb, pinfo, tree)
    if not begins_record(tvb) then return false end
    local names, at = {}, 0
    while at < tvb:len() and begins_record(tvb:range(at):tvb()) do
        local size = size_at(tvb, at)
        table.insert(names, dissect_any_record(tvb:range(at, size):tvb(), pinfo, tree))
        at = at + size
    end
    show_columns(pinfo, names)
    return true
end

local function dissect_stream(tvb, pinfo, tree)
    if not begins_record(tvb) then return false end
    local names = {}
    dissect_tcp_pdus(tvb, tree, 16, function(part, _, at)
        return math.max(part:range(at + 12, 4):le_uint(), header_size)
    end, function(part)
        table.insert(names, dissect_any_record(part, pinfo, tree))
        return part:len()
    end)
    show_columns(pinfo, names)
    pinfo.conversation = proto
    return true
end

-- For "Decode As", and for later segments of a stream that was recognised.
function proto.dissector(tvb, pinfo, tree)
    if pinfo.port_type == 2 then -- TCP
        dissect_stream(tvb, pinfo, tree)
    else
        dissect_datagram(tvb, pinfo, tree)
    end
    return tvb:len()
end

DissectorTable.get("udp.port"):add_for_decode_as(proto)
DissectorTable.get("tcp.port"):add_for_decode_as(proto)
proto:register_heuristic("udp", dissect_datagram)
proto:register_heuristic("tcp", dissect_stream)
