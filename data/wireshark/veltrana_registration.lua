-- Wireshark dissector: the registration of computers on Veltrana network scanners (UDP port 3892).
--
-- Put it into the folder that Wireshark shows under Help, About, Folders, "Personal Lua Plugins", or
-- start with: wireshark -X lua_script:veltrana_registration.lua

local PORT = 3892
local SIGNATURE = "MFPP"
local VERSION = "0200ML01"
local HEADER_SIZE = 20
local RECORD_SIZE = 28
local NAME_SIZE = 16
local CATEGORY = 0x31

local REGISTER, UNREGISTER, ACCEPTED, NOT_NOW = 0x03, 0x05, 0xC4, 0xD4
local commands = {
  [REGISTER] = "register",
  [UNREGISTER] = "unregister",
  [ACCEPTED] = "accepted",
  [NOT_NOW] = "not now",
}

local protocol = Proto("veltrana_reg", "Veltrana Scanner Registration")

local field = {
  signature = ProtoField.string("veltrana_reg.signature", "Signature"),
  version = ProtoField.string("veltrana_reg.version", "Version"),
  sequence = ProtoField.uint16("veltrana_reg.sequence", "Sequence number", base.HEX),
  category = ProtoField.uint8("veltrana_reg.category", "Category", base.HEX),
  command = ProtoField.uint8("veltrana_reg.command", "Command", base.HEX, commands),
  length = ProtoField.uint8("veltrana_reg.length", "Data length"),
  status = ProtoField.uint8("veltrana_reg.status", "Status", base.HEX),
  reserved = ProtoField.uint16("veltrana_reg.reserved", "Reserved", base.HEX),
  data = ProtoField.bytes("veltrana_reg.data", "Data"),
  computer = ProtoField.none("veltrana_reg.computer", "Computer"),
  address = ProtoField.ipv4("veltrana_reg.computer.address", "Address"),
  name = ProtoField.string("veltrana_reg.computer.name", "Name"),
  mac = ProtoField.ether("veltrana_reg.computer.mac", "Hardware address"),
  fixed = ProtoField.uint16("veltrana_reg.computer.fixed", "Fixed", base.HEX),
  rest = ProtoField.bytes("veltrana_reg.rest", "Bytes behind the data"),
}
protocol.fields = field

local function expert_field(name, text, severity, group)
  return ProtoExpert.new("veltrana_reg." .. name, text, group or expert.group.MALFORMED, severity)
end

local wrong = {
  signature = expert_field("bad_signature", "The signature is not \"MFPP\"", expert.severity.ERROR),
  version = expert_field("bad_version", "The version is not \"0200ML01\"", expert.severity.ERROR),
  short = expert_field("short", "The packet ends within its header", expert.severity.ERROR),
  length = expert_field("bad_length", "There is less data than the length says",
    expert.severity.ERROR),
  rest = expert_field("bad_rest", "There are bytes behind the data", expert.severity.WARN),
  category = expert_field("bad_category", "The category is not 0x31", expert.severity.WARN,
    expert.group.PROTOCOL),
  command = expert_field("bad_command", "The command is not known", expert.severity.WARN,
    expert.group.PROTOCOL),
  direction = expert_field("bad_direction", "A scanner's code that goes to a scanner, or a command "
    .. "that comes from one", expert.severity.WARN, expert.group.PROTOCOL),
  status = expert_field("bad_status", "The status of a command is not 0", expert.severity.WARN,
    expert.group.PROTOCOL),
  reserved = expert_field("bad_reserved", "The two bytes are not 0", expert.severity.WARN,
    expert.group.PROTOCOL),
  record = expert_field("bad_record", "The data of a command is not the 28 bytes of a computer",
    expert.severity.ERROR),
  name = expert_field("bad_name", "The name is not filled up with zeros", expert.severity.WARN,
    expert.group.PROTOCOL),
  fixed = expert_field("bad_fixed", "The last two bytes of a computer are not 00 01",
    expert.severity.WARN, expert.group.PROTOCOL),
  address = expert_field("bad_address", "The computer says that it has another address than the "
    .. "packet comes from", expert.severity.NOTE, expert.group.PROTOCOL),
  refused = expert_field("not_now", "The scanner puts the registration off", expert.severity.NOTE,
    expert.group.RESPONSE_CODE),
}
protocol.experts = wrong

local function is_request(command)
  return command == REGISTER or command == UNREGISTER
end


-- The name up to its first zero; behind that there must be zeros only.
local function add_name(tree, range)
  local bytes = range:bytes()
  local length = NAME_SIZE
  for i = 0, NAME_SIZE - 1 do
    if bytes:get_index(i) == 0 then
      length = i
      break
    end
  end
  local item = tree:add(field.name, range, length > 0 and range(0, length):string() or "")
  local padded = length < NAME_SIZE
  for i = length, NAME_SIZE - 1 do
    padded = padded and bytes:get_index(i) == 0
  end
  if not padded then item:add_proto_expert_info(wrong.name) end
end

local function add_computer(tree, range, pinfo)
  local computer = tree:add(field.computer, range)
  local address = computer:add(field.address, range(0, 4))
  add_name(computer, range(4, NAME_SIZE))
  computer:add(field.mac, range(20, 6))
  local fixed = computer:add(field.fixed, range(26, 2))
  if range(26, 2):uint() ~= 1 then fixed:add_proto_expert_info(wrong.fixed) end
  if tostring(range(0, 4):ipv4()) ~= tostring(pinfo.src) then
    address:add_proto_expert_info(wrong.address)
  end
end

local function add_text(tree, which, range, expected, problem)
  local item = tree:add(which, range)
  if range:raw() ~= expected then item:add_proto_expert_info(problem) end
end

local function add_command(tree, range, pinfo)
  local command = range:uint()
  local item = tree:add(field.command, range)
  local to_scanner = pinfo.dst_port == PORT
  if not commands[command] then
    -- Scanners may refuse with any code.
    if to_scanner then item:add_proto_expert_info(wrong.command) end
  elseif is_request(command) ~= to_scanner then
    item:add_proto_expert_info(wrong.direction)
  elseif command == NOT_NOW then
    item:add_proto_expert_info(wrong.refused)
  end
  return command
end

local function add_data(tree, buffer, length, command, pinfo)
  local there = math.min(length, buffer:len() - HEADER_SIZE)
  if there > 0 then
    local range = buffer(HEADER_SIZE, there)
    if is_request(command) and there == RECORD_SIZE then
      add_computer(tree, range, pinfo)
    else
      tree:add(field.data, range)
    end
  end
  local behind = buffer:len() - HEADER_SIZE - there
  if behind > 0 then
    tree:add(field.rest, buffer(HEADER_SIZE + there, behind)):add_proto_expert_info(wrong.rest)
  end
end

local function info_text(command, to_scanner)
  if commands[command] then return commands[command] end
  return string.format(to_scanner and "command 0x%02x" or "refused with 0x%02x", command)
end

function protocol.dissector(buffer, pinfo, root)
  pinfo.cols.protocol = "VELTRANA-REG"
  local tree = root:add(protocol, buffer())
  if buffer:len() < HEADER_SIZE then
    pinfo.cols.info = "too short"
    if buffer:len() > 0 then tree:add(field.data, buffer()) end
    tree:add_proto_expert_info(wrong.short)
    return buffer:len()
  end
  add_text(tree, field.signature, buffer(0, 4), SIGNATURE, wrong.signature)
  add_text(tree, field.version, buffer(4, 8), VERSION, wrong.version)
  tree:add_le(field.sequence, buffer(12, 2))
  local category = tree:add(field.category, buffer(14, 1))
  if buffer(14, 1):uint() ~= CATEGORY then category:add_proto_expert_info(wrong.category) end
  local command = add_command(tree, buffer(15, 1), pinfo)
  local length = buffer(16, 1):uint()
  local length_item = tree:add(field.length, buffer(16, 1))
  if length > buffer:len() - HEADER_SIZE then length_item:add_proto_expert_info(wrong.length) end
  if is_request(command) and length ~= RECORD_SIZE then
    length_item:add_proto_expert_info(wrong.record)
  end
  local status = tree:add(field.status, buffer(17, 1))
  if is_request(command) and buffer(17, 1):uint() ~= 0 then
    status:add_proto_expert_info(wrong.status)
  end
  local reserved = tree:add(field.reserved, buffer(18, 2))
  if buffer(18, 2):uint() ~= 0 then reserved:add_proto_expert_info(wrong.reserved) end
  add_data(tree, buffer, length, command, pinfo)
  pinfo.cols.info = info_text(command, pinfo.dst_port == PORT)
  return buffer:len()
end

DissectorTable.get("udp.port"):add(PORT, protocol)
