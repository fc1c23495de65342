// The FFT over sizes and data: supported sizes transform in place and back,
// any other size is refused without touching the arrays.
#include "FuzzSupport.h"

#include <quorvex/fft.h>

#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    while (bytes.remaining_bytes() > 0) {
        const bool supported = bytes.ConsumeBool();
        const int n = supported ? 1 << bytes.ConsumeIntegralInRange<int>(0, 12)
                                : bytes.ConsumeIntegralInRange<int>(-5000, 5000);
        const size_t count = static_cast<size_t>(n < 0 ? -static_cast<long>(n) : n);
        std::vector<double> x(count), y(count);
        for (size_t i = 0; i < count && bytes.remaining_bytes() > 0; ++i) {
            x[i] = fuzz::sample(bytes);
            y[i] = fuzz::sample(bytes);
        }
        const std::vector<double> x0 = x, y0 = y;
        const int direction = bytes.ConsumeBool() ? 1 : -1;
        const int result = fft(direction * n, x.data(), y.data());
        fuzz::require(result == 0 || result == 1 || result == -1, "fft result");
        if (count > 0 && (result != 0 || n == 0))
            fuzz::require(std::memcmp(x.data(), x0.data(), count * sizeof(double)) == 0 &&
                              std::memcmp(y.data(), y0.data(), count * sizeof(double)) == 0,
                          "a refused transform leaves its arrays");
    }
    fft(0, nullptr, nullptr);
    return 0;
}
