#pragma once
#include "base/Descriptor.h"

/// A descriptor that the system makes readable when a network interface comes or goes, its cable is plugged in or
/// pulled out, or its addresses change. Not open: the system has none for us.
Descriptor openInterfaceEvents();

/// Takes all that waits there. What has changed is to be looked at anew: the system may have left some out.
void takeInterfaceEvents(int descriptor);
