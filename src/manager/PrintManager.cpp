#include "manager/PrintManager.h"

namespace lumivert {} // namespace lumivert
