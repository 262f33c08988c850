// app/KeeperWait.h — a quit that waits until the keeper's work is done.
#pragma once
#include "base/NotificationCenter.h"

struct KeeperWait {
    NotificationCenter::Observation completed;
};
