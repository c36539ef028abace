// The rules of the command channel without its datagrams: what is sent next, which reply counts,
// when it is over and how.
//
// Nothing here opens a socket or waits. Whoever drives a conversation sends its packet, waits up to
// kReplySeconds for one datagram, and tells what came of that. The packet's layout stands in
// devreg/udp_command.h. One conversation belongs to one thread at a time. Nothing throws when
// memory is short.
#pragma once

#include "base/malloc_ptr.h"
#include "devreg/client_registration.h"
#include "devreg/udp_command.h"

// Seconds to wait for a reply, and how often a packet is sent at most.
constexpr unsigned int kReplySeconds = 3;
constexpr int kAttempts = 3;

// Room for the largest reply, in bytes.
constexpr int kReplySize = 1536;

// One command: the same packet is sent until a reply to it has come, or all attempts are used up.
class CommandConversation {
 public:
  // Makes the packet of a command, whose data stay the caller's. A sequence of 0 draws one. Without
  // memory for it, as with a length of the request that is negative or too large for a packet whose
  // length is an int, the conversation is over at once.
  explicit CommandConversation(const UDPCOMMAND& request, int sequence = 0,
                               int attempts = kAttempts);

  // False as long as the packet is to be sent once more.
  bool IsOver() const { return m_bOver; }
  const unsigned char* Packet() const { return m_Packet.get(); }
  int PacketLength() const { return m_iLength; }

  // A datagram came, of which the first kReplySize bytes are taken; bytes missing from it read 0.
  // It counts if it has the packet's sequence number, whoever sent it; otherwise as if nothing had
  // come.
  void TakeDatagram(const unsigned char* datagram, int length);
  // None came in time.
  void TakeTimeOut();
  // The packet could not be sent or waited for in a way that another attempt would not mend.
  void TakeFailure();

  // What became of it, once it is over: 0 with a reply, -101 when no attempt brought one, -2 when
  // memory was short, -1 after a failure.
  int Result() const { return m_iResult; }
  // Whether a datagram came that is no reply to this packet.
  bool SawOtherReply() const { return m_bSawOther; }

  // The reply's command code.
  unsigned char ReplyCode() const;
  // Stores the reply. Returns 0, or -3 when there are data and response->data is null. The
  // scanner's data count is not trusted: no more is stored than response->length says.
  int StoreReply(UDPCOMMAND* response) const;

 private:
  void UseUpAttempt();
  void End(int result);

  MallocPtr<unsigned char> m_Packet;
  int m_iLength = 0;
  int m_iAttemptsLeft;
  bool m_bOver = false;
  bool m_bSawOther = false;
  int m_iResult = 0;
  unsigned char m_Reply[kReplySize] = {};  // zeros behind the datagram
};

// One registration: a command, and further ones while the scanner puts it off.
class RegistrationConversation {
 public:
  explicit RegistrationConversation(const CLIENTREGPARAM& record);

  bool IsOver() const { return m_bOver; }
  // The command that is under way; to be sent as CommandConversation says.
  CommandConversation& Command() { return m_Command; }
  // To be called when the command is over: goes on with a new one, or ends.
  void Advance();

  // How it ended: 0 when the scanner accepted, -1 when a command failed or got no reply, else the
  // code of the last reply.
  int Result() const { return m_iResult; }

 private:
  CommandConversation NewCommand();

  CLIENTREGPARAM m_Record;
  CommandConversation m_Command;
  int m_iCommands = 1;
  bool m_bOver = false;
  int m_iResult = 0;
};
