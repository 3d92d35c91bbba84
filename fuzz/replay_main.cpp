// A target without its fuzzer, for sanitizers that libFuzzer does not go with: runs it on files.
#include <cstdint>
#include <cstdio>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// The platform log is not built for them.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

int main(int count, char** names) {
    for (int i = 1; i < count; ++i) {
        std::FILE* file = std::fopen(names[i], "rb");
        if (file == nullptr) {
            std::perror(names[i]);
            return 1;
        }
        std::vector<uint8_t> bytes(1 << 20);
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
        std::fclose(file);
        // Behind the last byte nothing is known.
        bytes.shrink_to_fit();
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    std::printf("%s: %d files\n", names[0], count - 1);
    return count > 1 ? 0 : 1;
}
