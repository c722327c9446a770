#include "settings/Settings.h"

Settings gSettings;
