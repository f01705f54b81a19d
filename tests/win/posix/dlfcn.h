// The part of <dlfcn.h> that the test suites use, over the Windows loader,
// so that tests written against the POSIX interface run unchanged in the
// Windows build.  This project's Linux library names (libNAME.so.N) are
// taken as their Windows names (NAME.N.dll).
#pragma once

#define RTLD_LAZY 0x1
#define RTLD_NOW 0x2
#define RTLD_NOLOAD 0x4
#define RTLD_LOCAL 0x0
#define RTLD_GLOBAL 0x100
// dlsym(RTLD_DEFAULT, name): the first module of the process that has name.
#define RTLD_DEFAULT nullptr

// RTLD_NOLOAD only finds a module already loaded (and takes no reference);
// otherwise the library is loaded.
void* dlopen(const char* file, int flags);
void* dlsym(void* handle, const char* name);
int dlclose(void* handle);
// The last failure's description, once; null when there was none.
char* dlerror();

// dladdr: the module that holds an address (file name and base); symbol
// names are not looked up.
typedef struct {
    const char* dli_fname;
    void* dli_fbase;
    const char* dli_sname;
    void* dli_saddr;
} Dl_info;
int dladdr(const void* address, Dl_info* info);
