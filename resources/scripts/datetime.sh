# Sets the system's date and time from its one argument and writes them to the hardware clock.
date -s "$1" && hwclock -w
