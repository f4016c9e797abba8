#include "callcontrol/CallControlServer.h"
