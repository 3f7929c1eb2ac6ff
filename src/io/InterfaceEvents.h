#pragma once

/// A descriptor that the system makes readable when a network interface comes or goes, its cable is plugged in or
/// pulled out, or its addresses change. The caller closes it. -1: the system has none for us.
int openInterfaceEvents();

/// Takes all that waits there. What has changed is to be looked at anew: the system may have left some out.
void takeInterfaceEvents(int descriptor);
