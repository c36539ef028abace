// Lists of received datagrams.
#include "snmp/udp/packet_data.h"

#include <cstdlib>

packet_data_list* get_packet_data_list_mem() {
  return static_cast<packet_data_list*>(malloc(sizeof(packet_data_list)));
}

void free_packet_data_list(packet_data_list* list) {
  while (list != nullptr) {
    packet_data_list* next = list->next;
    free(list->data);
    free(list);
    list = next;
  }
}
