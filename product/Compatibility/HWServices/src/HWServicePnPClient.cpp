#include "HWServicePnPClient.h"

void HWServicePnPClient::onVolumeArrival(std::string&) {}

void HWServicePnPClient::onVolumeRemoval(std::string&) {}
