// desktop/BusProbe.h — whether a message bus answers.
#pragma once
#include <string>

/// Any thread. Empty when the system bus takes part in the first words of a connection, else why not. Waits at
/// most `seconds`, where connecting to a bus that is silent would wait for ever. A bus that is not at a path of
/// the file system is not asked, and taken to answer.
std::string whySystemBusIsSilent(double seconds);
