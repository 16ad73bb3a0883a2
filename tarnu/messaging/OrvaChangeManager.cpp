#include "tarnu/messaging/OrvaChangeManager.h"

OrvaChangeManager::~OrvaChangeManager() = default;
