// The command channel to a scanner: one conversation at a time, which the caller waits for.
#include "devreg/udp_command.h"

#include "app/log/debug_log.h"
#include "devreg/conversation.h"
#include "devreg/converse.h"

void converse(const char* address, CommandConversation* command) {
  myDbgFunc(DBG_PREFIX "UdpCommandSendResponse (ipAddress=%s) \n", "UdpCommandSendResponse",
            __LINE__, address);
  unsigned char reply[kReplySize];
  while (!command->IsOver()) {
    int length = kReplySize;
    const int result = udp_send_rev(address, kReplySeconds, command->Packet(),
                                    command->PacketLength(), reply, &length);
    if (result == 0) {
      command->TakeDatagram(reply, length);
    } else if (result == kUdpTimedOut) {
      command->TakeTimeOut();
    } else {
      command->TakeFailure();
    }
  }
}

unsigned short udpCommandPort = 3892;

int UdpCommandSend(const char* ipAddress, int sequence, UDPCOMMAND* request) {
  const CommandConversation command(*request, sequence);
  if (command.IsOver()) return command.Result();
  return udp_send(ipAddress, kReplySeconds, command.Packet(), command.PacketLength());
}

int UdpCommandSendResponse(char* ipAddress, UDPCOMMAND* request, UDPCOMMAND* response) {
  CommandConversation command(*request);
  converse(ipAddress, &command);
  return command.Result() != 0 ? command.Result() : command.StoreReply(response);
}

int SetUdpCommandPort(unsigned short port) {
  udpCommandPort = port;
  return 0;
}
