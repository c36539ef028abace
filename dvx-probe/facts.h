// What can be found out about this computer, its network and the scanners on it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dvx-probe/firewall.h"
#include "dvx-probe/interfaces.h"
#include "dvx-probe/survey.h"

// This computer as scanners are told of it.
struct Registered {
  std::string name;
  in_addr address{};
  std::string hardwareAddress;
};

struct Facts {
  std::vector<Interface> interfaces;
  Registered registered;
  std::vector<in_addr> given;  // addresses that ought to show up

  // The program's own search; the answers are those of a wait longer than the program's.
  Route broadcastRoute{};
  std::string broadcastInterface;  // empty when there is no route
  PlaceAsked everybody;

  std::vector<PlaceAsked> others;  // the networks of the other interfaces
  std::vector<PlaceAsked> direct;  // single devices that did not answer the program's search

  bool sawInterfaces = false;    // incoming answers were seen before the firewall
  std::vector<in_addr> dropped;  // whose answers came in by an interface and went no further
  Firewall firewall;

  std::vector<Device> devices;  // everybody who answered, asked for all texts
};

// Finds all of it out. That takes some ten seconds.
Facts find_facts(const Places& places, const Network& network);

// Interfaces that are up, have an IPv4 address and are not loopback.
std::vector<const Interface*> usable_interfaces(const std::vector<Interface>& interfaces);

// The answers that the program takes: up to the first pause of one second and more.
std::vector<Datagram> answers_in_time(const Outcome& outcome);

// Their senders, each once.
std::vector<in_addr> senders(const std::vector<Datagram>& answers);

bool contains(const std::vector<in_addr>& addresses, in_addr address);
