#include "options/Settings.h"

Settings gSettings;
