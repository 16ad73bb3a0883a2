#include "tarnu/messaging/OrvaSocket.h"

OrvaSocket::~OrvaSocket() = default;
