// Registration of this computer on a scanner.
#include "devreg/client_registration.h"
