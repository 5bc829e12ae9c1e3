// AES of message bodies, as the codec does it. What the cipher alone costs is shown beside it, and
// by `openssl speed -evp aes-128-cbc -bytes 1024`.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <vector>

#include "aes.h"

namespace {

void Sizes(benchmark::internal::Benchmark* bench) {
    bench->Arg(64)->Arg(256)->Arg(1024)->Arg(4000);
}

// Times once(out, &length), which is to give 0.
void Time(benchmark::State& state, const auto& once) {
    std::vector<unsigned char> out(4096);
    for (auto _ : state) {
        int length = static_cast<int>(out.size());
        if (once(out.data(), &length) != 0) return state.SkipWithError("not done");
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void AesEncrypt(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const std::vector<unsigned char> plain(static_cast<size_t>(size), 'p');
    Time(state, [&](unsigned char* out, int* length) {
        return aes_enc_r(plain.data(), size, nullptr, 0, out, length);
    });
}
BENCHMARK(AesEncrypt)->Apply(Sizes);

void AesDecrypt(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0));
    const std::vector<unsigned char> plain(static_cast<size_t>(size), 'p');
    std::vector<unsigned char> secret(4096);
    int secretLength = static_cast<int>(secret.size());
    aes_enc_r(plain.data(), size, nullptr, 0, secret.data(), &secretLength);
    Time(state, [&](unsigned char* out, int* length) {
        return aes_dec_r(secret.data(), secretLength, nullptr, 0, out, length);
    });
}
BENCHMARK(AesDecrypt)->Apply(Sizes);

// The floor: one chain of the library's own, without initialisation block or key set-up.
void CipherAlone(benchmark::State& state) {
    const int size = static_cast<int>(state.range(0)) / 16 * 16;
    const unsigned char key[16] = {};
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(context, EVP_aes_128_cbc(), nullptr, key, key);
    const std::vector<unsigned char> plain(static_cast<size_t>(size), 'p');
    std::vector<unsigned char> out(4096);
    for (auto _ : state) {
        int length = 0;
        EVP_EncryptUpdate(context, out.data(), &length, plain.data(), size);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(state.iterations() * size);
    EVP_CIPHER_CTX_free(context);
}
BENCHMARK(CipherAlone)->Apply(Sizes);

}  // namespace
