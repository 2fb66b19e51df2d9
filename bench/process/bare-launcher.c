/* The smallest launcher: bare-launcher <vendor> <product> <executable> looks at the connected USB devices,
   then waits for arrivals, and starts the executable for each device with the two identifiers. With a fourth
   argument it first reads the executable's path of every process, and starts the executable only if none has
   it. */

#include <dirent.h>
#include <libudev.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern char** environ;

static int isRunning(const char* executable) {
    DIR* processes = opendir("/proc");
    const size_t length = strlen(executable);
    int isFound = 0;
    const struct dirent* entry = NULL;
    while (processes && !isFound && (entry = readdir(processes))) {
        char link[sizeof entry->d_name + sizeof "/proc//exe"];
        char program[PATH_MAX];
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
            continue;
        snprintf(link, sizeof link, "/proc/%s/exe", entry->d_name);
        isFound = readlink(link, program, sizeof program) == (ssize_t)length &&
                  memcmp(program, executable, length) == 0;
    }
    if (processes)
        closedir(processes);
    return isFound;
}

static int isWanted(struct udev_device* device, char** arguments) {
    const char* vendor = udev_device_get_sysattr_value(device, "idVendor");
    const char* product = udev_device_get_sysattr_value(device, "idProduct");
    return vendor && product && strcmp(vendor, arguments[1]) == 0 && strcmp(product, arguments[2]) == 0;
}

static void start(char** arguments) {
    char* const executable = arguments[3];
    char* const itsArguments[] = {executable, NULL};
    pid_t pid = 0;
    if (!arguments[4] || !isRunning(executable))
        posix_spawn(&pid, executable, NULL, NULL, itsArguments, environ);
}

static void lookAtPresentDevices(struct udev* context, char** arguments) {
    struct udev_enumerate* list = udev_enumerate_new(context);
    struct udev_list_entry* entry = NULL;
    udev_enumerate_add_match_subsystem(list, "usb");
    udev_enumerate_add_match_property(list, "DEVTYPE", "usb_device");
    udev_enumerate_scan_devices(list);
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(list)) {
        struct udev_device* device = udev_device_new_from_syspath(context, udev_list_entry_get_name(entry));
        if (device && isWanted(device, arguments))
            start(arguments);
        udev_device_unref(device);
    }
    udev_enumerate_unref(list);
}

static void handle(struct udev_device* device, char** arguments) {
    const char* action = udev_device_get_action(device);
    if (action && strcmp(action, "add") == 0 && isWanted(device, arguments))
        start(arguments);
}

int main(int argumentCount, char** arguments) {
    if (argumentCount != 4 && argumentCount != 5)
        return 2;
    signal(SIGCHLD, SIG_IGN);
    struct udev* context = udev_new();
    struct udev_monitor* monitor = udev_monitor_new_from_netlink(context, "udev");
    udev_monitor_filter_add_match_subsystem_devtype(monitor, "usb", "usb_device");
    udev_monitor_enable_receiving(monitor);
    lookAtPresentDevices(context, arguments);
    for (;;) {
        struct pollfd file = {udev_monitor_get_fd(monitor), POLLIN, 0};
        poll(&file, 1, -1);
        struct udev_device* device = udev_monitor_receive_device(monitor);
        if (device)
            handle(device, arguments);
        udev_device_unref(device);
    }
}
