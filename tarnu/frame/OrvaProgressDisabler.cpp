#include "tarnu/frame/OrvaProgressDisabler.h"

#include "tarnu/frame/OrvaProgress.h"

OrvaProgressDisabler::OrvaProgressDisabler() noexcept : m_bWasEnabled(OrvaIsProgressEnabled()) {
    OrvaSetProgressEnabled(false);
}

OrvaProgressDisabler::~OrvaProgressDisabler() {
    OrvaSetProgressEnabled(m_bWasEnabled);
}
