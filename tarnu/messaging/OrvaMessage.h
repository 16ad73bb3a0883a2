/// @file
/// OrvaMessage: what an OrvaMessageQueue carries.
#ifndef TARNU_MESSAGING_ORVAMESSAGE_H
#define TARNU_MESSAGING_ORVAMESSAGE_H

#include "tarnu/framework/framework.h"

/// A message object. Derive and add what it says.
///
/// Threads: made on the posting thread, used on the receiving one.
/// Ownership: the poster's until a successful Post; then that of whoever takes it out with Get.
class TARNU_API OrvaMessage {
public:
    virtual ~OrvaMessage() = 0;
};

#endif // TARNU_MESSAGING_ORVAMESSAGE_H
