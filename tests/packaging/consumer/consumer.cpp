#include "AppData.h"
#include "HWServicePnP.h"
#include "KFThread.h"
#include "SavedName.h"
#include "Tracer.h"

#include <cstdio>

class Greeter : public KFThread {
public:
    Greeter() : KFThread(nullptr) {}
    ~Greeter() override { stop(); }
    void run() override { puts("a thread ran"); }
};

int main() {
    printf("%s\n", savedName().c_str());

    Greeter greeter;
    if (!greeter.start() || KFThread::waitForThreadTermination(&greeter) != 0)
        return 1;

    AppData settings("Consumer");
    printf("%s\n", settings.getPathForFile("settings").c_str());
    return Tracer::GetInstance() == nullptr && HWServicePnP::getInstance() != nullptr ? 0 : 1;
}
