// The texts of --help.
#include "dvx-probe/options.h"

namespace {

const char kProgram[] =
    R"(Usage: dvx-probe COMMAND [OPTION...]

Finds the network scanners of Veltrana DVX Tools from a terminal or a script, puts this computer on
their lists, and finds out why none shows up.

  dvx-probe list        shows the scanners
  dvx-probe register    puts this computer on the lists of scanners
  dvx-probe unregister  takes it off
  dvx-probe explain     says why no scanner shows up, and what to do about it

  dvx-probe COMMAND --help  options and examples of a command
  dvx-probe --version       shows the version

Exit status: 0 all went well, 1 something did not (see the command's help), 2 wrong usage,
130 interrupted with Ctrl-C.
)";

const char kPlaces[] =
    R"(
Where to look (without these: where the program looks, which is everybody in reach of the broadcast
address 255.255.255.255):
  --address A[,A...]   ask these addresses directly, in another network too
  --interface I[,I...] ask the broadcast address of this interface's own network
  --each-interface     ask those of all interfaces
)";

const char kCommon[] =
    R"(
  --wait SECONDS       how long to wait for more answers to the search (1, for --address 3)
  --trace FILE         write every datagram to a pcap file, for Wireshark and tshark
  --help               this text
)";

const char kList[] =
    R"(Usage: dvx-probe list [OPTION...]

Shows the scanners that answer, with model, name, address and hardware address. A scanner that does
not tell its model, vendor and name is left out, as in the program's window.

  --json               as JSON, with the devices that are left out and the reasons
  --csv                as CSV
)";

const char kListEnd[] =
    R"(
Examples:
  dvx-probe list
  dvx-probe list --address 192.168.7.20,192.168.7.21
  dvx-probe list --each-interface --wait 3
  dvx-probe list --json | jq -r '.scanners[].address'

Exit status: 0 scanners were found and every given address answered, 1 otherwise, 2 wrong usage.
)";

const char kRegister[] =
    R"(Usage: dvx-probe register [OPTION...] ADDRESS...
       dvx-probe register [OPTION...] --all

Puts this computer on the lists of these scanners, or of all that "dvx-probe list" shows, and says
for each what came back. Scanners are told the address and the hardware address of this computer's
first network interface ("dvx-probe explain" shows them).

  --all                all scanners that answer the search
  --name NAME          under this name; scanners show its first 15 characters. Without it: this
                       computer's host name
)";

const char kRegisterEnd[] =
    R"(
Examples:
  dvx-probe register --all
  dvx-probe register --name front-desk 192.168.1.40 192.168.1.41
  dvx-probe register --all --each-interface

Exit status: 0 all scanners accepted, 1 some refused or did not reply, 2 wrong usage.
)";

const char kUnregister[] =
    R"(Usage: dvx-probe unregister [OPTION...] ADDRESS...
       dvx-probe unregister [OPTION...] --all

Takes this computer off the lists of these scanners, or of all that "dvx-probe list" shows. Scanners
do not confirm this; a scanner that objects within a second, or does not listen, is reported.

  --all                all scanners that answer the search
  --name NAME          the name that goes with the command; scanners know this computer by its
                       address
)";

const char kUnregisterEnd[] =
    R"(
Examples:
  dvx-probe unregister --all
  dvx-probe unregister 192.168.1.40

Exit status: 0 all scanners were told, 1 some refused or could not be told, 2 wrong usage.
)";

const char kExplain[] =
    R"(Usage: dvx-probe explain [OPTION...]

Finds out why no scanner shows up, or not every one, and says it in plain words with the command
that mends it. It searches as the program does, asks the other interfaces too, asks every device
that it comes across for each text, and compares. As root it also sees answers that a firewall drops
and reads the firewall's rules: sudo dvx-probe explain.
)";

const char kExplainEnd[] =
    R"(
Examples:
  sudo dvx-probe explain
  dvx-probe explain --address 192.168.7.20     this scanner ought to show up
  dvx-probe explain --trace search.pcap        keep what was sent and received

Exit status: 0 nothing is wrong, 1 something was found, 2 wrong usage.
)";

const char kExplainPlaces[] =
    R"(
  --address A[,A...]   scanners that ought to show up
  --interface I[,I...] ask only these interfaces besides the program's own way, not all
)";

}  // namespace

std::string help_text(Command command) {
  switch (command) {
    case Command::kNone:
      return kProgram;
    case Command::kList:
      return std::string(kList) + kPlaces + kCommon + kListEnd;
    case Command::kRegister:
      return std::string(kRegister) + kPlaces + kCommon + kRegisterEnd;
    case Command::kUnregister:
      return std::string(kUnregister) + kPlaces + kCommon + kUnregisterEnd;
    case Command::kExplain:
      return std::string(kExplain) + kExplainPlaces + kCommon + kExplainEnd;
  }
  return {};
}
