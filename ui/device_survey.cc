// The device survey: one broadcast, then three questions to every device that answers.
#include "ui/device_survey.h"
