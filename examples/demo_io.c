/* File helpers of the demo program. The PNG writer stores its image data in
   uncompressed deflate blocks, so that it needs no compression library. */
#include "demo_io.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static uint32_t le32(const uint8_t* p) { return p[0] | (p[1] << 8) | (p[2] << 16) | ((uint32_t)p[3] << 24); }
static uint16_t le16(const uint8_t* p) { return (uint16_t)(p[0] | (p[1] << 8)); }

int16_t* demoReadWav(const char* path, int* pCount, int* pSampleRate) {
    FILE* f = fopen(path, "rb");
    uint8_t head[12], chunk[8], fmt[16];
    int channels = 0, bits = 0;
    int16_t* out = NULL;
    if (!f) return NULL;
    if (fread(head, 1, 12, f) != 12 || memcmp(head, "RIFF", 4) || memcmp(head + 8, "WAVE", 4)) goto done;
    while (fread(chunk, 1, 8, f) == 8) {
        uint32_t size = le32(chunk + 4);
        if (!memcmp(chunk, "fmt ", 4) && size >= 16) {
            if (fread(fmt, 1, 16, f) != 16) goto done;
            if (le16(fmt) != 1) goto done; /* PCM only */
            channels = le16(fmt + 2);
            *pSampleRate = (int)le32(fmt + 4);
            bits = le16(fmt + 14);
            if (fseek(f, (long)(size - 16 + (size & 1)), SEEK_CUR)) goto done;
        } else if (!memcmp(chunk, "data", 4)) {
            uint32_t frames, i;
            int16_t* all;
            if (bits != 16 || channels < 1) goto done;
            frames = size / (2u * (uint32_t)channels);
            all = (int16_t*)malloc((size_t)frames * channels * 2 + 2);
            out = (int16_t*)malloc((size_t)frames * 2 + 2);
            if (!all || !out || fread(all, 2u * channels, frames, f) != frames) {
                free(all);
                free(out);
                out = NULL;
                goto done;
            }
            for (i = 0; i < frames; ++i) {
                const uint8_t* s = (const uint8_t*)&all[(size_t)i * channels];
                out[i] = (int16_t)le16(s);
            }
            free(all);
            *pCount = (int)frames;
            goto done;
        } else if (fseek(f, (long)(size + (size & 1)), SEEK_CUR)) {
            goto done;
        }
    }
done:
    fclose(f);
    return out;
}

static uint32_t crcTable[256];

static void crcInit(void) {
    uint32_t n, k, c;
    for (n = 0; n < 256; ++n) {
        c = n;
        for (k = 0; k < 8; ++k) c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
        crcTable[n] = c;
    }
}

static uint32_t crc(uint32_t c, const uint8_t* p, size_t n) {
    size_t i;
    c ^= 0xffffffffu;
    for (i = 0; i < n; ++i) c = crcTable[(c ^ p[i]) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

static void put32(uint8_t* p, uint32_t v) {
    p[0] = (uint8_t)(v >> 24);
    p[1] = (uint8_t)(v >> 16);
    p[2] = (uint8_t)(v >> 8);
    p[3] = (uint8_t)v;
}

static int writeChunk(FILE* f, const char* type, const uint8_t* data, size_t n) {
    uint8_t len[4], tail[4];
    uint32_t c = crc(0, (const uint8_t*)type, 4);
    c = crc(c, data, n);
    put32(len, (uint32_t)n);
    put32(tail, c);
    return fwrite(len, 1, 4, f) == 4 && fwrite(type, 1, 4, f) == 4 && (n == 0 || fwrite(data, 1, n, f) == n) &&
           fwrite(tail, 1, 4, f) == 4;
}

int demoWritePng(const char* path, const uint8_t* rgb, int width, int height) {
    static const uint8_t signature[8] = {137, 80, 78, 71, 13, 10, 26, 10};
    const size_t row = (size_t)width * 3 + 1, raw = row * (size_t)height;
    const size_t blocks = (raw + 65534) / 65535;
    uint8_t ihdr[13];
    uint8_t* z = (uint8_t*)malloc(2 + raw + 5 * blocks + 4);
    uint8_t* img = (uint8_t*)malloc(raw);
    size_t i, pos = 0, done = 0;
    uint32_t a = 1, b = 0;
    FILE* f;
    int ok = 0;
    if (!z || !img) goto out;
    crcInit();
    for (i = 0; i < (size_t)height; ++i) {
        img[i * row] = 0; /* no filter */
        memcpy(img + i * row + 1, rgb + i * (size_t)width * 3, (size_t)width * 3);
    }
    z[pos++] = 0x78;
    z[pos++] = 0x01;
    while (done < raw) {
        size_t n = raw - done > 65535 ? 65535 : raw - done;
        z[pos++] = done + n == raw; /* final block flag, stored */
        z[pos++] = (uint8_t)n;
        z[pos++] = (uint8_t)(n >> 8);
        z[pos++] = (uint8_t)~n;
        z[pos++] = (uint8_t)(~n >> 8);
        memcpy(z + pos, img + done, n);
        pos += n;
        done += n;
    }
    for (i = 0; i < raw; ++i) {
        a = (a + img[i]) % 65521;
        b = (b + a) % 65521;
    }
    put32(z + pos, (b << 16) | a);
    pos += 4;
    put32(ihdr, (uint32_t)width);
    put32(ihdr + 4, (uint32_t)height);
    ihdr[8] = 8;  /* bit depth */
    ihdr[9] = 2;  /* RGB */
    ihdr[10] = ihdr[11] = ihdr[12] = 0;
    f = fopen(path, "wb");
    if (!f) goto out;
    ok = fwrite(signature, 1, 8, f) == 8 && writeChunk(f, "IHDR", ihdr, 13) && writeChunk(f, "IDAT", z, pos) &&
         writeChunk(f, "IEND", NULL, 0);
    ok = (fclose(f) == 0) && ok;
out:
    free(z);
    free(img);
    return ok ? 0 : -1;
}
