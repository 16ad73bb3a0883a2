#include "tarnu/messaging/OrvaMessage.h"

OrvaMessage::~OrvaMessage() = default;
