#include "tarnu/messaging/OrvaServerEventHandler.h"

OrvaServerEventHandler::~OrvaServerEventHandler() = default;

void OrvaServerEventHandler::OnRemoved() {}

void OrvaServerEventHandler::OnClose() {}
