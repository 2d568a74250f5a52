// Names that the C library has with another meaning. They are exported under a version that is not the default, so
// that neither linker nor loader gives them to a program that means the C library's.
#include <cstdarg>
#include <cstdint>

extern "C" {

double vexa_erf(double x);
double vexa_erfc(double x);
int32_t vexa_vdprintf(const char* format, va_list arguments);

__attribute__((visibility("default"))) double versionedErf(double x)
{
    return vexa_erf(x);
}

__attribute__((visibility("default"))) double versionedErfc(double x)
{
    return vexa_erfc(x);
}

__attribute__((visibility("default"), format(printf, 1, 2))) int32_t versionedDprintf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int32_t length = vexa_vdprintf(format, arguments);
    va_end(arguments);
    return length;
}

} // extern "C"

__asm__(".symver versionedErf, erf@VEXALIB_1");
__asm__(".symver versionedErfc, erfc@VEXALIB_1");
__asm__(".symver versionedDprintf, dprintf@VEXALIB_1");
