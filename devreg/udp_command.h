// The command channel to a scanner: one command in one UDP datagram, and the scanner's reply.
//
// Packet, offsets in bytes:
//    0  "MFPP0200ML01", signature and version
//   12  sequence number, 16 bits, low byte first; a reply repeats the two bytes
//   14  category
//   15  command
//   16  number of data bytes
//   17  status
//   18  two zeros
//   20  data
//
// Packets go to udpCommandPort1 (snmp/udp/transport.h). The functions reseed the C library's rand()
// with the time in seconds whenever they draw a sequence number, so that commands of the same
// second have the same number. They are called on the GTK main thread and block it while they wait.
// Nothing throws when memory is short. In a process with 1024 files open no reply can be waited for
// (snmp/udp/transport.h): the command is sent once, and the result is -1.
#pragma once

#include "snmp/udp/transport.h"

// A command or a reply. Note that the packet has category and command the other way round.
struct UDPCOMMAND {
  unsigned char command;
  unsigned char category;  // 0x31 in requests
  int length;              // data bytes; for a reply, in: capacity of `data`, out: the reply's own
                           // count, also when it exceeds the capacity
  unsigned char status;    // 0 in requests
  unsigned char* data;     // owned by the caller
};

// Set by SetUdpCommandPort and read by nothing: the port in use is udpCommandPort1.
extern unsigned short udpCommandPort;

// Sends a command without waiting for a reply. `ipAddress` is an IPv4 address or a host name. Of
// `sequence` the low 16 bits are sent; 0 draws one at random. All data bytes are sent, but a count
// above 255 does not fit into the packet's count, which then holds its low byte. Returns
//    0  when the datagram was handed to the socket, whether or not it could be sent
//   -1  when there is no socket or the address is unknown
//   -2  when memory is short or the request's length is negative or above 2^31 - 21
int UdpCommandSend(const char* ipAddress, int sequence, UDPCOMMAND* request);

// Sends a command and waits for its reply: up to 3 attempts of 3 seconds, each of which sends the
// same packet from a fresh socket and takes one datagram. A datagram with another sequence number
// uses up its attempt; nothing else of the reply is checked, and bytes missing from it read 0. No
// more data than response->length says are stored. Returns
//     0  with the reply in *response; response->data is untouched when the reply has no data
//  -101  when no attempt brought a reply
//    -3  when the reply has data and response->data is null
//    -2  when memory is short or the request's length is negative or above 2^31 - 21
//    -1  on any other failure
int UdpCommandSendResponse(char* ipAddress, UDPCOMMAND* request, UDPCOMMAND* response);

// Stores `port` in udpCommandPort, which changes nothing on the wire. Returns 0.
int SetUdpCommandPort(unsigned short port);
