-- Wireshark dissector of the lobby's protocol: clients over TCP and WebSocket, and the six back-end
-- links. README.md beside it tells how to install it. The messages come from lobby_messages.lua,
-- which has to stand beside this file.
--
-- One number means different messages on different links, so a port has to tell the link: the ports
-- are preferences of the protocol, the defaults those of the sample configuration.

local folder = debug.getinfo(1, "S").source:match("^@?(.*[/\\])") or ""
local tables = dofile(folder .. "lobby_messages.lua")

local HEADER, LARGEST, IDENTITY = 8, 4096, 5
local NO_NAME = {"unknown message", nil, nil}

local lobby = Proto("lobby", "LobbyServer protocol")
-- The payload of WebSocket frames, which arrives here without the stream around it.
local framed = Proto("lobby_ws", "LobbyServer protocol in WebSocket")

local head = {
    identity = ProtoField.uint8("lobby.identity", "Identity"),
    encode = ProtoField.uint8("lobby.encode", "Encode", base.DEC, {[0] = "NONE", [1] = "AES"}),
    length = ProtoField.uint16("lobby.length", "Length"),
    version = ProtoField.uint8("lobby.version", "Version"),
    reserve = ProtoField.uint8("lobby.reserve", "Reserve"),
    type = ProtoField.uint16("lobby.type", "Type", base.HEX),
    direction = ProtoField.string("lobby.direction", "Direction"),
    name = ProtoField.string("lobby.name", "Message"),
    struct = ProtoField.string("lobby.struct", "Structure"),
    user = ProtoField.int32("lobby.user", "User"),
    encrypted = ProtoField.bytes("lobby.encrypted", "Encrypted body"),
    body = ProtoField.bytes("lobby.body", "Body"),
    record = ProtoField.none("lobby.record", "Record"),
    proxy = ProtoField.bytes("lobby.proxy", "PROXY header"),
}

local trouble = {
    header = ProtoExpert.new("lobby.bad_header", "Not a message of the lobby",
        expert.group.MALFORMED, expert.severity.ERROR),
    size = ProtoExpert.new("lobby.bad_size", "Size does not fit the message",
        expert.group.PROTOCOL, expert.severity.WARN),
    cut = ProtoExpert.new("lobby.cut", "Goes on in another WebSocket frame, which is not put together",
        expert.group.UNDECODED, expert.severity.NOTE),
    unknown = ProtoExpert.new("lobby.unknown", "Type unknown in this direction",
        expert.group.UNDECODED, expert.severity.WARN),
}

-- Kind -> how a field is declared and how it is read.
local kinds = {
    bool = {ProtoField.uint8, "le_uint"}, i8 = {ProtoField.int8, "le_int"},
    u8 = {ProtoField.uint8, "le_uint"}, i16 = {ProtoField.int16, "le_int"}, u16 = {ProtoField.uint16, "le_uint"},
    i32 = {ProtoField.int32, "le_int"}, u32 = {ProtoField.uint32, "le_uint"},
    i64 = {ProtoField.int64}, u64 = {ProtoField.uint64},
    char = {ProtoField.string}, bytes = {ProtoField.bytes},
}
-- The fields that say whose message it is, as they are spelt in the various messages.
local user_fields = {iUserID = true, iUserId = true, userID = true, userId = true, iUserIDFrom = true,
    iFromUserID = true, iSenderID = true}

-- The meaning is what the status bar shows of a chosen field.
local function declare(field, filter)
    local make = kinds[field.kind][1]
    if field.kind == "char" then return make(filter, field.name, base.ASCII, field.means) end
    if field.kind == "bytes" then return make(filter, field.name, base.NONE, field.means) end
    return make(filter, field.name, base.DEC, nil, nil, field.means)
end

-- "lobby.Structure.field" for every field; field.proto is its ProtoField.
local function declare_fields()
    local all = {}
    for _, field in pairs(head) do all[#all + 1] = field end
    for name, layout in pairs(tables.layouts) do
        for _, field in ipairs(layout) do
            field.name, field.offset, field.kind = field[1], field[2], field[3]
            field.size, field.count = field[4], field[5]
            field.counter = field[6] ~= "" and field[6] or nil
            field.record = field[7] and tables.layouts[field[7]]
            if not field.record then
                field.proto = declare(field, "lobby." .. name .. "." .. field.name)
                all[#all + 1] = field.proto
            end
        end
    end
    lobby.fields = all
    lobby.experts = {trouble.header, trouble.size, trouble.cut, trouble.unknown}
end
declare_fields()

-- Preferences. The order is that of the links in LobbyServer.cfg.
local links = {
    {"client", "9100", "Clients (TCP and WebSocket)"},
    {"center", "9101", "Center server"}, {"web", "9102", "Web (bulletin) server"},
    {"queue", "9103", "Queue server"}, {"data", "9104", "Data server"},
    {"config", "9105", "Config server"}, {"log", "9106", "Log server"},
}
for _, link in ipairs(links) do
    lobby.prefs[link[1]] = Pref.range(link[3], link[2],
        "TCP ports of this peer; for clients the port the lobby listens on", 65535)
end

local link_of = {}  -- port -> name of the link

local function each_port(text, action)
    for first, last in text:gmatch("(%d+)%-?(%d*)") do
        for port = tonumber(first), tonumber(last) or tonumber(first) do action(port) end
    end
end

local function listen()
    local tcp, ws = DissectorTable.get("tcp.port"), DissectorTable.get("ws.port")
    for port, link in pairs(link_of) do
        tcp:remove(port, lobby)
        if link == "client" then ws:remove(port, framed) end
    end
    link_of = {}
    for _, link in ipairs(links) do
        each_port(lobby.prefs[link[1]] or "", function(port)
            if port == 0 or link_of[port] then return end
            link_of[port] = link[1]
            tcp:add(port, lobby)
            if link[1] == "client" then ws:add(port, framed) end
        end)
    end
end

-- Clients connect to the lobby, the lobby connects to its back-ends.
local function direction_of(pinfo)
    local to, from = link_of[pinfo.dst_port], link_of[pinfo.src_port]
    if to then return to == "client" and "client->lobby" or "lobby->" .. to end
    if from then return from == "client" and "lobby->client" or from .. "->lobby" end
    return "unknown"
end

local function is_header(tvb, at)
    local length = tvb(at + 2, 2):uint()
    return tvb(at, 1):uint() == IDENTITY and length >= HEADER and length <= LARGEST
end

-- Bytes of the header that a balancer puts before a client's (PROXY protocol, version 2), or 0.
local PROXY_SIGNATURE = "\r\n\r\n\0\r\nQUIT\n"
local function proxy_size(tvb, at)
    if tvb:len() - at < 16 or tvb(at, 12):raw() ~= PROXY_SIGNATURE then return 0 end
    return 16 + tvb(at + 14, 2):uint()
end

-- A text ends at its first zero byte, or with its field.
local function add_text(tree, field, range)
    local bytes = range:bytes()
    local length = 0
    while length < bytes:len() and bytes:get_index(length) ~= 0 do length = length + 1 end
    tree:add(field.proto, range, length > 0 and range(0, length):string(ENC_UTF_8) or "")
end

-- How many elements are valid: those its counting field tells, else all.
local function valid_count(tvb, layout, field, start)
    for _, other in ipairs(layout) do
        if other.name == field.counter and start + other.offset + other.size <= tvb:len() then
            return tvb(start + other.offset, other.size)[kinds[other.kind][2]](
                tvb(start + other.offset, other.size))
        end
    end
    return field.count
end

local add_fields

-- Everything stops where the message ends: a short message lacks its last fields.
local function add_field(tree, tvb, layout, field, start)
    local at = start + field.offset
    local room = tvb:len() - at
    local count = field.counter and valid_count(tvb, layout, field, start) or field.count
    if field.kind == "char" or field.kind == "bytes" then
        count = math.min(count, room)
        if count > 0 then add_text(tree, field, tvb(at, count))
        elseif room >= 0 then tree:add(field.proto, tvb(at, 0), "") end
        return
    end
    for i = 1, math.min(count, math.ceil(room / field.size)) do
        local size = math.min(field.size, tvb:len() - at)
        if field.record then
            local item = tree:add(head.record, tvb(at, size))
            item:set_text(string.format("%s[%d]", field.name, i - 1))
            add_fields(item, tvb, field.record, at)
        elseif size == field.size then
            tree:add_le(field.proto, tvb(at, size))
        end
        at = at + field.size
    end
end

function add_fields(tree, tvb, layout, start)
    for _, field in ipairs(layout) do
        add_field(tree, tvb, layout, field, start)
        local at = start + field.offset
        if start == 0 and user_fields[field.name] and at + 4 <= tvb:len() then
            tree:add_le(head.user, tvb(at, 4)):set_generated()
        end
    end
end

local function add_header(tree, tvb)
    tree:add(head.identity, tvb(0, 1))
    tree:add(head.encode, tvb(1, 1))
    tree:add(head.length, tvb(2, 2))
    tree:add(head.version, tvb(4, 1))
    tree:add(head.reserve, tvb(5, 1))
    tree:add(head.type, tvb(6, 2))
end

local function add_body(tree, tvb, row)
    local layout = row[2] and tables.layouts[row[2]]
    local length = tvb:len()
    if tvb(1, 1):uint() ~= 0 and length > HEADER then
        -- The key is chosen when a platform is built, so none is kept here.
        tree:add(head.encrypted, tvb(HEADER))
        return
    end
    if row[3] and not row[4] and length ~= row[3] then
        tree:add_proto_expert_info(trouble.size,
            string.format("%d bytes, %s has %d", length, row[1], row[3]))
    end
    if layout then add_fields(tree, tvb, layout, 0)
    elseif length > HEADER then tree:add(head.body, tvb(HEADER)) end
end

local function dissect_message(tvb, pinfo, root)
    pinfo.cols.protocol = "LOBBY"
    if proxy_size(tvb, 0) > 0 then
        root:add(lobby, tvb(), "Lobby, PROXY header"):add(head.proxy, tvb())
        pinfo.cols.info:append(" PROXY header")
        return tvb:len()
    end
    if tvb:len() < HEADER or not is_header(tvb, 0) then
        root:add(lobby, tvb()):add_proto_expert_info(trouble.header)
        pinfo.cols.info:append(" [not a message]")
        return tvb:len()
    end
    local direction = direction_of(pinfo)
    local type = tvb(6, 2):uint()
    local row = (tables.messages[direction] or {})[type] or NO_NAME
    local title = row[2] or string.format("0x%04X", type)
    local tree = root:add(lobby, tvb(), string.format("Lobby %s, %s, %s, %d bytes", direction, row[1],
        title, tvb:len()))
    add_header(tree, tvb)
    tree:add(head.direction, direction):set_generated()
    tree:add(head.name, row[1]):set_generated()
    if row[2] then tree:add(head.struct, row[2]):set_generated() end
    if row == NO_NAME then tree:add_proto_expert_info(trouble.unknown) end
    add_body(tree, tvb, row)
    pinfo.cols.info:append(string.format(" %s (%s)%s", title, row[1],
        tvb(1, 1):uint() ~= 0 and " [encrypted]" or ""))
    return tvb:len()
end

local function message_length(tvb, _, at)
    local proxy = proxy_size(tvb, at)
    if proxy > 0 then return proxy end
    -- What is no message is shown as such, to the end of what has come.
    return is_header(tvb, at) and tvb(at + 2, 2):uint() or tvb:len() - at
end

local function is_request(tvb, at)
    return tvb:len() >= at + 4 and tvb(at, 4):raw() == "GET "
end

local stream_number = Field.new("tcp.stream")
local upgraded = {}  -- streams that began with an upgrade to WebSocket

function lobby.init()
    upgraded = {}
end

function lobby.dissector(tvb, pinfo, root)
    local stream = stream_number().value
    local at = proxy_size(tvb, 0)
    if is_request(tvb, at) then upgraded[stream] = true end
    if upgraded[stream] then
        if at > 0 then dissect_message(tvb(0, at):tvb(), pinfo, root) end
        -- HTTP follows the upgrade by itself and gives the payload of the frames to `framed`.
        return Dissector.get("http"):call(tvb(at):tvb(), pinfo, root)
    end
    pinfo.cols.info:clear()
    pinfo.cols.info:append(direction_of(pinfo) .. ":")
    dissect_tcp_pdus(tvb, root, HEADER, message_length, dissect_message)
    return tvb:len()
end

function framed.dissector(tvb, pinfo, root)
    pinfo.cols.protocol = "LOBBY"
    pinfo.cols.info:append(" " .. direction_of(pinfo) .. ":")
    local at = 0
    while at < tvb:len() do
        local left = tvb:len() - at
        local length = left >= HEADER and message_length(tvb, pinfo, at) or left
        if left < HEADER or length > left then
            root:add(lobby, tvb(at)):add_proto_expert_info(trouble.cut)
            break
        end
        dissect_message(tvb(at, length):tvb(), pinfo, root)
        at = at + length
    end
    return tvb:len()
end

lobby.prefs_changed = listen
listen()  -- last: a port can only be given to a protocol that has its dissector
