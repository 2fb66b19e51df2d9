#include "AppData.h"
#include "Dictionary.h"
#include "HWServicePnP.h"
#include "KFThread.h"
#include "StringManagement.h"
#include "Tracer.h"

#include <cstdio>

class Greeter : public KFThread {
public:
    Greeter() : KFThread(nullptr) {}
    ~Greeter() override { stop(); }
    void run() override { puts("a thread ran"); }
};

int main() {
    Dictionary saved;
    saved.addValue("modem.name", "Quillmarsh");
    saved.saveToFile("settings.plist");
    Dictionary loaded;
    loaded.loadFromFile("settings.plist");
    const char* name = loaded.getValue("modem.name");
    printf("%s\n", name != nullptr ? StringManagement::toLower(name).c_str() : "(none)");

    Greeter greeter;
    if (!greeter.start() || KFThread::waitForThreadTermination(&greeter) != 0)
        return 1;

    AppData settings("Consumer");
    printf("%s\n", settings.getPathForFile("settings").c_str());
    return Tracer::GetInstance() == nullptr && HWServicePnP::getInstance() != nullptr ? 0 : 1;
}
