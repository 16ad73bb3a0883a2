#include "tarnu/messaging/OrvaCallbackDispatcher.h"

OrvaCallbackDispatcher::OrvaCallbackDispatcher() noexcept : m_callbacks(/*blockSize=*/10) {}

OrvaCallbackDispatcher::~OrvaCallbackDispatcher() {
    m_callbacks.RemoveAll();
}
