#include "tarnu/messaging/OrvaCallback.h"

OrvaCallback::~OrvaCallback() = default;
