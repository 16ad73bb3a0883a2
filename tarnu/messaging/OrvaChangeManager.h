/// @file
/// OrvaChangeManager: the common base of hosts' change managers.
#ifndef TARNU_MESSAGING_ORVACHANGEMANAGER_H
#define TARNU_MESSAGING_ORVACHANGEMANAGER_H

#include "tarnu/framework/framework.h"

/// A base through which a change manager of any kind is destroyed. What it manages, the derived class says.
///
/// Threads: none of its own. Ownership: none of its own.
class TARNU_API OrvaChangeManager {
public:
    virtual ~OrvaChangeManager();
};

#endif // TARNU_MESSAGING_ORVACHANGEMANAGER_H
