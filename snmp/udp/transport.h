// UDP/IPv4 exchanges: to the SNMP port of a device and to its command port.
//
// Every exchange opens a socket of its own and closes it before it returns. An address is text: an
// IPv4 address in dotted-decimal form is used as it is, anything else is looked up as a host name,
// and the first address of the answer is taken. Time-outs are whole seconds.
//
// Whether a datagram could be sent is never looked at: a device that cannot be reached is one that
// does not answer. Nothing is written to the debug log.
//
// The functions keep no state and may be called from any thread. The ones that wait are
// cancellation points (pthread_cancel): the thread then ends with its socket closed and its memory
// released. A shortage of memory is a failure like others, never an exception.
//
// The waits use select(2), whose sets hold the descriptors below 1024 (FD_SETSIZE). In a process
// that has all of these open the datagram is still sent, and the wait for the answer then fails at
// once, with errno EBADF.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>

#include "snmp/udp/packet_data.h"

// UDP port on which devices answer SNMP requests.
constexpr unsigned short kSnmpPort = 161;

// UDP port, in host byte order, to which udp_send and udp_send_rev send: the command port of the
// devices. 3892 unless changed, and 3892 again when set to 0. Read without a lock.
extern unsigned short udpCommandPort1;

// Returns 0: there is nothing to start on this platform.
int net_start();

// Opens an IPv4 UDP socket into *socket_out. Returns 0, or -1 when none could be opened.
int net_socket(int* socket_out);

// Closes a socket. Descriptor 0 stands for "no socket" and is left alone. A cancellation of the
// thread is not acted on in here, so that destructors can call it.
void net_close(int socket);

// Converts address text as described above. Stores the address, in network byte order, and returns
// 0, or returns -1 when the text names no host. "255.255.255.255" passes through the host-name
// look-up, with the same result.
int net_resolve(const char* address, in_addr* result);

// Waits until the socket is readable. Returns 0 when it is, -1 after `seconds` without a datagram
// and on error, which a descriptor that is negative or from 1024 on is too.
int net_select(int socket, unsigned int seconds);

// The same wait, with the result of select(2): negative on error, 0 on time-out, else positive.
int readable_timeo(int socket, unsigned int seconds);

// What the functions below return when no datagram came in time.
constexpr int kUdpTimedOut = -3;

// recvfrom(2) with a time-out; 0 seconds waits for ever. Returns what recvfrom returned, -1 when
// the wait failed or kUdpTimedOut.
int recvfrom_timeo(int socket, void* buffer, size_t length, int flags, sockaddr* from,
                   socklen_t* from_length, unsigned int seconds);

// Sends `length` bytes to the SNMP port of one device and waits `seconds` for one datagram, whoever
// sends it; of a longer one the first 1536 bytes are kept. Returns a list of that datagram, which
// the caller releases with free_packet_data_list, or null: no socket, unknown address, no answer in
// time, an error on receiving or no memory.
packet_data_list* net_send_rev(const char* address, unsigned int seconds, const unsigned char* data,
                               int length);

// Sends `length` bytes to the command port. The second argument is not used. Returns 0, also when
// the datagram could not be sent, or -1 when there is no socket or the address is unknown.
int udp_send(const char* address, unsigned int unused, const unsigned char* data, int length);

// Sends `length` bytes to the command port and waits `seconds` (0: for ever) for one datagram.
// *answer_length holds the capacity of `answer` on entry and the length of the datagram on return.
// Returns
//    0  with the answer, and zeros behind it up to the capacity;
//   -1  when nothing was sent (no answer buffer, a capacity below 1, no socket, unknown address),
//       when receiving failed, and when the datagram is larger than the capacity: `answer` is then
//       all zeros;
//   kUdpTimedOut (-3)  when no datagram came in time.
int udp_send_rev(const char* address, unsigned int seconds, const unsigned char* data, int length,
                 unsigned char* answer, int* answer_length);
