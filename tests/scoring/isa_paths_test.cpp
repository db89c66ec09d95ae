// SPDX-License-Identifier: Apache-2.0
// Every scoring family on every instruction set this processor has: the
// wide paths must give the bits of the baseline path, for widths and heights
// on both sides of each block size, and must read nothing past a row. Every
// matrix and vector here ends where a page ends, with an inaccessible page
// behind it, and its rows are packed (step = width), so most rows start
// unaligned and a read past the last row's width faults.
#include <stdint.h>
#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include "common.hpp"
#include "guarded.hpp"
#include "frame/dispatch.hpp"

namespace {

using zt::Guarded;

// 16-bit values mostly of a recogniser's size, with one in eight anywhere in
// the range, so that saturated and wrapping sums occur.
void fill16(int16_t* p, size_t n, int lo, int hi) {
    for (size_t i = 0; i < n; ++i)
        p[i] = static_cast<int16_t>(zt::uniformi(0, 7) == 0 ? zt::uniformi(-32768, 32767) : zt::uniformi(lo, hi));
}

// A model and data for one width and height: the rows (frames, or the
// means of many Gaussians), a second matrix (the inverse variances of many
// Gaussians), one mean and inverse variance, constants and running values.
struct Model {
    int width, height;
    Guarded<float> x32, v32, mean32, var32, val32, run32;
    Guarded<int16_t> x16, v16, mean16, var16;
    Guarded<int32_t> val32s, run32s;
    std::vector<const float*> rows32, vrows32;

    Model(int w, int h)
        : width(w), height(h), x32(size_t(w) * h), v32(size_t(w) * h), mean32(w), var32(w), val32(h), run32(h),
          x16(size_t(w) * h), v16(size_t(w) * h), mean16(w), var16(w), val32s(h), run32s(h) {
        zt::fillUniform(x32.data(), x32.size(), -3, 3);
        zt::fillUniform(v32.data(), v32.size(), 0.1, 2);
        zt::fillUniform(mean32.data(), mean32.size(), -3, 3);
        zt::fillUniform(var32.data(), var32.size(), 0.1, 2);
        zt::fillUniform(val32.data(), val32.size(), -40, 0);
        zt::fillUniform(run32.data(), run32.size(), -400, 0);
        fill16(x16.data(), x16.size(), -3000, 3000);
        fill16(v16.data(), v16.size(), 0, 64);
        fill16(mean16.data(), mean16.size(), -3000, 3000);
        fill16(var16.data(), var16.size(), 0, 64);
        zt::fillUniform(val32s.data(), val32s.size(), -100000, 0);
        zt::fillUniform(run32s.data(), run32s.size(), -40000000, 0);
        for (int y = 0; y < h; ++y) {
            rows32.push_back(x32.data() + size_t(y) * w);
            vrows32.push_back(v32.data() + size_t(y) * w);
        }
    }
};

// A member run on a model, its results as bytes. Running values are copied
// first, so that every path starts from the same ones.
using Run = std::function<std::vector<uint8_t>(const Model&)>;

template <class T>
std::vector<uint8_t> bytes(const std::vector<T>& v) {
    std::vector<uint8_t> b(v.size() * sizeof(T));
    memcpy(b.data(), v.data(), b.size());
    return b;
}
template <class T>
std::vector<T> copyOf(const Guarded<T>& g) {
    return std::vector<T>(g.data(), g.data() + g.size());
}

struct Member {
    std::string name;
    Run run;
};

// Scale factors where the integer members change their shifts: negative
// (float path), 0 to 15 (left-shifted H), above 15 (right-shifted H).
std::vector<Member> members() {
    std::vector<Member> m;
    m.push_back({"LogGauss_32f_D2", [](const Model& d) {
        std::vector<float> out(d.height);
        zelsLogGauss_32f_D2(d.x32.data(), d.width, d.mean32.data(), d.var32.data(), d.width, out.data(), d.height, -7.5f);
        return bytes(out);
    }});
    m.push_back({"LogGauss_IdVar_32f_D2L", [](const Model& d) {
        std::vector<float> out(d.height);
        zelsLogGauss_IdVar_32f_D2L(const_cast<const Zel32f**>(d.rows32.data()), d.mean32.data(), d.width, out.data(), d.height, 2.0f);
        return bytes(out);
    }});
    for (int sf : {-2, 3, 16}) {
        const std::string s = std::to_string(sf);
        m.push_back({"LogGauss_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out(d.height);
            zelsLogGauss_16s32s_D2Sfs(d.x16.data(), d.width, d.mean16.data(), d.var16.data(), d.width, out.data(), d.height, -5, sf);
            return bytes(out);
        }});
        m.push_back({"LogGauss_Low_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out(d.height);
            zelsLogGauss_Low_16s32s_D2Sfs(d.x16.data(), d.width, d.mean16.data(), d.var16.data(), d.width, out.data(), d.height, 11, sf);
            return bytes(out);
        }});
        m.push_back({"LogGauss_IdVarLow_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out(d.height);
            zelsLogGauss_IdVarLow_16s32s_D2Sfs(d.x16.data(), d.width, d.mean16.data(), d.width, out.data(), d.height, 3, sf);
            return bytes(out);
        }});
        m.push_back({"LogGauss_IdVarScaled_16s32f_D2/" + s, [sf](const Model& d) {
            std::vector<float> out(d.height);
            zelsLogGauss_IdVarScaled_16s32f_D2(d.x16.data(), d.width, d.mean16.data(), d.width, out.data(), d.height, 1.5f, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussMax_Low_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out = copyOf(d.run32s);
            zelsLogGaussMax_Low_16s32s_D2Sfs(d.x16.data(), d.width, d.mean16.data(), d.var16.data(), d.width, out.data(), d.height, 9, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussAdd_LowScaled_16s32f_D2/" + s, [sf](const Model& d) {
            std::vector<float> out = copyOf(d.run32);
            zelsLogGaussAdd_LowScaled_16s32f_D2(d.x16.data(), d.width, d.mean16.data(), d.var16.data(), d.width, out.data(), d.height, -3.0f, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussMultiMix_Low_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out = copyOf(d.val32s);
            zelsLogGaussMultiMix_Low_16s32s_D2Sfs(d.x16.data(), d.v16.data(), d.width, d.mean16.data(), d.width, out.data(), d.height, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussMaxMultiMix_Low_16s32s_D2Sfs/" + s, [sf](const Model& d) {
            std::vector<int32_t> out = copyOf(d.run32s);
            zelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(d.x16.data(), d.v16.data(), d.width, d.mean16.data(), d.width, d.val32s.data(), out.data(), d.height, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussMultiMix_Scaled_16s32f_D2/" + s, [sf](const Model& d) {
            std::vector<float> out = copyOf(d.val32);
            zelsLogGaussMultiMix_Scaled_16s32f_D2(d.x16.data(), d.v16.data(), d.width, d.mean16.data(), d.width, out.data(), d.height, sf);
            return bytes(out);
        }});
        m.push_back({"LogGaussMixture_LowScaled_16s32f_D2/" + s, [sf](const Model& d) {
            std::vector<float> out(1);
            zelsLogGaussMixture_LowScaled_16s32f_D2(d.mean16.data(), d.x16.data(), d.v16.data(), d.height, d.width, d.width, d.val32.data(), out.data(), sf);
            return bytes(out);
        }});
    }
    m.push_back({"LogGaussMax_32f_D2", [](const Model& d) {
        std::vector<float> out = copyOf(d.run32);
        zelsLogGaussMax_32f_D2(d.x32.data(), d.width, d.mean32.data(), d.var32.data(), d.width, out.data(), d.height, -1.0f);
        return bytes(out);
    }});
    m.push_back({"LogGaussAdd_32f_D2", [](const Model& d) {
        std::vector<float> out = copyOf(d.run32);
        zelsLogGaussAdd_32f_D2(d.x32.data(), d.width, d.mean32.data(), d.var32.data(), d.width, out.data(), d.height, -1.0f);
        return bytes(out);
    }});
    m.push_back({"LogGaussMultiMix_32f_D2", [](const Model& d) {
        std::vector<float> out = copyOf(d.val32);
        zelsLogGaussMultiMix_32f_D2(d.x32.data(), d.v32.data(), d.width, d.mean32.data(), d.width, out.data(), d.height);
        return bytes(out);
    }});
    m.push_back({"LogGaussMultiMix_32f_D2L", [](const Model& d) {
        std::vector<float> out = copyOf(d.val32);
        zelsLogGaussMultiMix_32f_D2L(const_cast<const Zel32f**>(d.rows32.data()), const_cast<const Zel32f**>(d.vrows32.data()),
                                     d.mean32.data(), d.width, out.data(), d.height);
        return bytes(out);
    }});
    m.push_back({"LogGaussMaxMultiMix_32f_D2", [](const Model& d) {
        std::vector<float> out = copyOf(d.run32);
        zelsLogGaussMaxMultiMix_32f_D2(d.x32.data(), d.v32.data(), d.width, d.mean32.data(), d.width, d.val32.data(), out.data(), d.height);
        return bytes(out);
    }});
    m.push_back({"LogGaussAddMultiMix_32f_D2", [](const Model& d) {
        std::vector<float> out = copyOf(d.run32);
        zelsLogGaussAddMultiMix_32f_D2(d.x32.data(), d.v32.data(), d.width, d.mean32.data(), d.width, d.val32.data(), out.data(), d.height);
        return bytes(out);
    }});
    m.push_back({"LogGaussMixture_32f_D2", [](const Model& d) {
        std::vector<float> out(1);
        zelsLogGaussMixture_32f_D2(d.mean32.data(), d.x32.data(), d.v32.data(), d.height, d.width, d.width, d.val32.data(), out.data());
        return bytes(out);
    }});
    m.push_back({"MahDistMultiMix_32f_D2", [](const Model& d) {
        std::vector<float> out(d.height);
        zelsMahDistMultiMix_32f_D2(d.x32.data(), d.v32.data(), d.width, d.mean32.data(), d.width, out.data(), d.height);
        return bytes(out);
    }});
    m.push_back({"LogGaussSingle_32f", [](const Model& d) {
        std::vector<float> out(1);
        zelsLogGaussSingle_32f(d.x32.data(), d.mean32.data(), d.var32.data(), d.width, out.data(), 4.0f);
        return bytes(out);
    }});
    m.push_back({"LogGaussSingle_Low_16s32s_Sfs", [](const Model& d) {
        std::vector<int32_t> out(1);
        zelsLogGaussSingle_Low_16s32s_Sfs(d.x16.data(), d.mean16.data(), d.var16.data(), d.width, out.data(), 4, 5);
        return bytes(out);
    }});
    return m;
}

// The instruction sets of this build on this processor, baseline first.
std::vector<zel::Isa> isas() {
    std::vector<zel::Isa> v{zel::Isa::kBaseline};
    if (zel::bestIsa() >= zel::Isa::kAvx2) v.push_back(zel::Isa::kAvx2);
    if (zel::bestIsa() >= zel::Isa::kAvx512) v.push_back(zel::Isa::kAvx512);
    return v;
}

TEST(IsaPaths, EveryMemberGivesTheBaselineBitsOnEveryPath) {
    const std::vector<Member> all = members();
    const std::vector<zel::Isa> paths = isas();
    const zel::Isa previous = zel::setMaxIsaForTesting(zel::Isa::kAvx512);
    // Widths around the group of 4 and 8 columns and the full-width loads of
    // 32 and 64 bytes, and above the width from which the Low members take
    // the wide kernels, with every short group after the full-width loads
    // (90, 127); heights around the blocks of 8 and 16 rows, the blocks of
    // 100 and 128 of the folding members, and the chunks of 256.
    for (int width : {1, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 24, 31, 32, 33, 39, 47, 64, 65, 90, 100, 127})
        for (int height : {1, 2, 7, 16, 17, 33, 101, 129, 300}) {
            const Model model(width, height);
            for (const Member& member : all) {
                zel::setMaxIsaForTesting(zel::Isa::kBaseline);
                const std::vector<uint8_t> want = member.run(model);
                for (zel::Isa isa : paths) {
                    zel::setMaxIsaForTesting(isa);
                    EXPECT_EQ(member.run(model), want) << member.name << " width " << width << " height " << height
                                                       << " on path " << static_cast<int>(isa);
                }
            }
        }
    zel::setMaxIsaForTesting(previous);
}

}  // namespace
