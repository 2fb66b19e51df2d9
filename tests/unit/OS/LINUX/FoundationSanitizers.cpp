// Suppresses what the sanitizers report about the Objective-C runtime and GNUstep's Foundation, which never
// free their tables and lock in varying order while classes are initialised. Our own leaks are found by
// counting objects instead, see FoundationObjectsTest.mm.

extern "C" {
const char* __lsan_default_options() {
    return "print_suppressions=0";
}
const char* __tsan_default_options() {
    return "print_suppressions=0";
}

const char* __lsan_default_suppressions() {
    return "leak:libobjc.so\nleak:libgnustep-base.so\n";
}

const char* __tsan_default_suppressions() {
    return "deadlock:libobjc.so\ndeadlock:libgnustep-base.so\nrace:libobjc.so\nrace:libgnustep-base.so\n";
}
}
