#pragma once

#include "support/scenario.h"
