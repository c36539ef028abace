// The text of --help.
#include <algorithm>

#include "tools/scanner-sim/options.h"

namespace {

const char kUsage[] =
    R"(Usage: scanner-sim [OPTION...]

Simulates network document scanners for people who develop, test or show Veltrana DVX Tools. Each
scanner has an IPv4 address of its own, which this machine must have. It answers SNMP version 1 on
UDP port 161 (the broadcast search, and questions about its texts) and the registration commands on
UDP port 3892, and keeps a list of the computers that registered on it. Run it on a private network:

  script/lab lab-office scanner-sim --scanners 6 --network 10.77.0.0/24 --human

Which scanners:
  --scanners N         so many usual scanners (6): Reception, Accounting, Mail-Room, ...
  --network A/P        scanner i has the address A + 100 + i (10.77.0.0/24: 10.77.0.101 and up)
  --scenario FILE      the scanners that a scenario file describes, see below
  --set KEY=VALUE      sets a key of the table below for every scanner
  --set SCANNER:KEY=VALUE
                       the same for one scanner, by its name in the scenario or its number (1, ...)
  --seed N             added to the seed of every scanner, for other random numbers
  --check              shows the scanners and ends

What it writes:
  --log FILE           one JSON line for each datagram, see below
  --lists FILE         the lists of all scanners as JSON; replaced whole on every change
  --ready-file FILE    made once every scanner can be asked; an old one is removed first
  --human              a readable line for each question: "10.77.0.101 Reception: asked for its
                       model, answers T55_E"
  --quiet              nothing on standard output
  --help               this text

Without --quiet it prints its scanners, a line "ready: ...", a line whenever the list of a scanner
changes, and all lists at its end:
  10.77.0.103  Mail-Room  lists: desk-42 (10.77.0.10, 02:56:44:56:58:10)
It runs until it gets SIGINT or SIGTERM.

Exit status: 0 after SIGINT or SIGTERM, 1 when it cannot run (an address that this machine does not
have, a full disk), 2 for a bad option or scenario ("FILE:LINE: problem").
)";

const char kScenario[] =
    R"(
Scenario files
  A key file with a group [defaults] for every scanner and a group [scanner NAME] for each scanner.
  Besides the keys of the table, [defaults] may hold "network = A/P", and a scanner's group
  "count = N" for N scanners like it (NAME-1, NAME-2, ...). "{n}" in any value is the number of the
  scanner in its group (with --scanners: of all scanners). A key written as KEY.QUESTION is for the
  answers to one kind of question only:
    discovery   the search (GET-NEXT of 1.3.6.1.4.1.731.405.1.1.1.3, usually by broadcast)
    model, vendor, name, mac
                GET of 1.3.6.1.4.1.731.1.2.1.2.0, 1.3.6.1.4.1.731.1.2.1.1.0, 1.3.6.1.2.1.1.5.0,
                1.3.6.1.2.1.2.2.1.6.1
    other       any other GET or GET-NEXT
    register, unregister
                the commands of port 3892
  A scanner's group goes before [defaults], --set before both; within one of them KEY.QUESTION goes
  before KEY. In texts \s is a blank (blanks at the start of a value are lost), \n \t \r \\ are as
  usual.

  Example: two scanners, one slow about its model, one that is busy at first and whose name does not
  fit the length form that the program under test reads.

    [defaults]
    network = 10.77.0.0/24

    [scanner Reception]
    model = T55_E
    delay.model = 1500

    [scanner Archive]
    model = F220_U
    reply_codes = D4 D4 C4
    name = Archive of the drawing office, second floor, behind the glass door next to the lift shaft
    length_form.name = minimal

  VALUE is string:TEXT, hex:BYTES (a text of these bytes), int:N, counter:N, gauge:N, ticks:N,
  address:A.B.C.D, oid:1.3.6, null, opaque:BYTES or tagXX:BYTES. BYTES are pairs of hexadecimal
  digits. FORM is short (one byte, contents of up to 127 bytes; the usual one), minimal (the
  shortest that fits), long1 to long8 (0x80 + n and n bytes), left5 to left8 (the length in the
  first n - 4 of n bytes, zeros after it) or byte00 to byteff (this one byte, true or not). ELEMENT
  is message, version, community, pdu, request_id, error_status, error_index, list, binding, name
  or value.
  The program under test reads the short form only: it takes a length in the long form for 0 (for
  the first n - 4 of its bytes, if there are 5 to 8) and drops an answer that does not make sense
  then. A text that makes an answer longer than 127 bytes is therefore refused here unless the
  scenario states the form of the lengths with length_form. The program waits one second for
  further answers to its search and three seconds for any other answer: measure delay by that.
)";

const char kLogFormat[] =
    R"(
The log
  {"time":1700000000.123456,"direction":"received","protocol":"snmp","from":"10.77.0.10:40001",
   "to":"10.77.0.101:161","scanner":"Reception","understood":{"pdu":"get","version":0,
   "community":"public","request_id":1804289383,"error_status":0,"error_index":0,"variables":
   [{"object":"1.3.6.1.4.1.731.1.2.1.2.0","type":"null","value":"null"}],"question":"model",
   "remarks":[]},"text":"asked for its model","changes":[],"size":50,"hex":"3082..."}
  in one line. direction is received, sent or not sent (the system refused what the line before
  says). A line is written before its datagram is sent. A broadcast is received once, with the
  scanner "*". understood is null for a datagram that makes no sense, and "problem" says why;
  remarks are oddities of one that does. Of the registration commands it holds command, meaning,
  category, status, length, sequence, data, computer (name, address, mac) and remarks. changes says
  how a sent datagram was spoilt on purpose.

The lists
  {"scanners":[{"address":"10.77.0.101","scanner":"Reception","name":"Reception","model":"T55_E",
   "lists":[{"name":"desk-42","address":"10.77.0.10","mac":"02:56:44:56:58:10"}]}]}
)";

std::string Heading(KeyScope scope) {
  switch (scope) {
    case KeyScope::kScanner:
      return "\nKeys about a scanner:\n";
    case KeyScope::kAnswer:
      return "\nKeys about answers, also as KEY.QUESTION:\n";
    case KeyScope::kSnmpAnswer:
      return "\nKeys about SNMP answers, also as KEY.QUESTION:\n";
  }
  return "";
}

// The text broken into lines, each with so many blanks before it but the first.
std::string Wrapped(const std::string& text, size_t indent, size_t width) {
  std::string result;
  size_t column = indent;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find(' ', start), text.size());
    if (column + (end - start) > width && column > indent) {
      result += "\n" + std::string(indent, ' ');
      column = indent;
    } else if (column > indent) {
      result += ' ';
      ++column;
    }
    result += text.substr(start, end - start);
    column += end - start;
    start = end + 1;
  }
  return result;
}

std::string KeyTable(KeyScope scope) {
  constexpr size_t kIndent = 23;
  std::string result = Heading(scope);
  for (const KeyHelp& key : key_help()) {
    if (key.scope != scope) continue;
    result += "  " + key.name + " = " + key.value + "\n" + std::string(kIndent, ' ') +
              Wrapped(key.text, kIndent, 99) + "\n";
  }
  return result;
}

}  // namespace

std::string help_text() {
  return std::string(kUsage) + kScenario + KeyTable(KeyScope::kScanner) +
         KeyTable(KeyScope::kAnswer) + KeyTable(KeyScope::kSnmpAnswer) + kLogFormat;
}
