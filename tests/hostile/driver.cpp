// SPDX-License-Identifier: Apache-2.0
// Hostile-argument driver. It walks the table of exports generated from the
// public headers (gen_table.py, roles.tsv) and calls every export with one
// argument at a time replaced by a hostile value of that argument's role:
// null pointers, sizes 0, -1, INT_MIN and INT_MAX, extreme scale factors,
// NaN and infinite values and data, aliased buffers, zeroed, garbage,
// cleared and wrong-kind states. Every buffer the call may write is copied
// before the call; a negative status with any byte changed is a write on
// error. Crashes, leaks and undefined behaviour are left to the sanitizers,
// which the suite runs this program under.
//
//   hostile_driver            the hostile calls
//   hostile_driver --sizes    the size rule: for every state builder in caller
//                             memory and its size query, whatever the query
//                             refuses the builder refuses without writing, and
//                             the builder never writes past the queried size
//
// A family is covered by its header and, where its names do not tell a
// parameter's role or a workable value, by rows of roles.tsv.
#include <float.h>
#include <fnmatch.h>
#include <limits.h>
#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "zelcore.h"
#include "zelsr.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZELSR_HOSTILE_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define ZELSR_HOSTILE_ASAN 1
#endif
#ifdef ZELSR_HOSTILE_ASAN
#include <sanitizer/asan_interface.h>
#define POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define POISON(p, n) ((void)(p), (void)(n))
#define UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace {

enum class Role { length, count, step, scale, mode, index, integer, real, in, in_rising, in_falling, record, out, table_in, table_out,
                  state, state_out, state_mem, count_in, state_table, unknown };
enum class Elem { E8u, E16s, E16u, E32s, E32u, E32f, E64s, E64f, EInt, EState, EUnknown };

union Arg {
    void* p;
    long long i;
    double f;
};

struct Param {
    const char* name;
    const char* ctype;
    const char* base;
    Role role;
    Elem elem;
    int stars;
    const char* good;
};

struct Export {
    const char* name;
    ZelStatus (*call)(const Arg*);
    int n;
    Param p[24];
    bool hasStatus;
};

#include "hostile_table.inc"

// ---- Sizes of what a call may touch ---------------------------------------------------

constexpr int kElems = 8192;                // elements of every data buffer
constexpr int kRows = 64, kRowLen = 256;    // rows of every table, elements of every row
constexpr size_t kStateBlock = 1 << 20;     // caller memory of a state of unknown size
constexpr size_t kGuard = 64;

size_t elemSize(Elem e) {
    switch (e) {
        case Elem::E8u: return 1;
        case Elem::E16s: case Elem::E16u: return 2;
        case Elem::E32s: case Elem::E32u: case Elem::E32f: case Elem::EInt: return 4;
        default: return 8;
    }
}

// Data a call reads: small varied values, or one hostile value throughout.
enum class Fill { Good, NaN, Inf, Extreme };
// `lift` moves good data, so that a buffer can stand above or below the
// others (a log-subtraction orders its operands).
void fill(void* p, Elem e, size_t n, Fill how, int row = 0, int lift = 0) {
    for (size_t i = 0; i < n; ++i) {
        const long long gi = (long long)((i + size_t(row)) % 7) + 1 + lift;
        const double g = double(gi) * 0.25;
        switch (e) {
            case Elem::E8u: static_cast<Zel8u*>(p)[i] = Zel8u(how == Fill::Good ? gi : 255); break;
            case Elem::E16s: static_cast<Zel16s*>(p)[i] = Zel16s(how == Fill::Good ? gi : (i & 1) ? -32768 : 32767); break;
            case Elem::E16u: static_cast<Zel16u*>(p)[i] = Zel16u(how == Fill::Good ? gi : 65535); break;
            case Elem::E32s: case Elem::EInt:
                static_cast<Zel32s*>(p)[i] = Zel32s(how == Fill::Good ? gi : (i & 1) ? INT_MIN : INT_MAX); break;
            case Elem::E32u: static_cast<Zel32u*>(p)[i] = how == Fill::Good ? Zel32u(gi) : 0xffffffffu; break;
            case Elem::E64s: static_cast<Zel64s*>(p)[i] = how == Fill::Good ? gi : (i & 1) ? INT64_MIN : INT64_MAX; break;
            case Elem::E32f:
                static_cast<Zel32f*>(p)[i] = how == Fill::Good ? float(g) : how == Fill::NaN ? NAN
                                             : how == Fill::Inf ? ((i & 1) ? -INFINITY : INFINITY)
                                                                : ((i & 1) ? -FLT_MAX : FLT_MAX);
                break;
            case Elem::E64f:
                static_cast<Zel64f*>(p)[i] = how == Fill::Good ? g : how == Fill::NaN ? double(NAN)
                                             : how == Fill::Inf ? ((i & 1) ? -double(INFINITY) : double(INFINITY))
                                                                : ((i & 1) ? -DBL_MAX : DBL_MAX);
                break;
            default: static_cast<Zel8u*>(p)[i] = 0xa5; break;
        }
    }
}

// ---- Regions: memory a call may write, copied before it ------------------------------------

struct Region {
    const char* what;
    unsigned char* p;
    size_t n;
    std::vector<unsigned char> before;
};

struct Stats {
    long calls = 0, writesOnError = 0, negative = 0, succeeded = 0;
    int exportsDriven = 0;
    std::vector<std::string> notDriven;
};
Stats stats;
char current[512];

// Negative statuses whose outputs the header documents as written: these
// report a finding about the data rather than refuse the arguments.
struct DocumentedWrite {
    const char* glob;
    ZelStatus status;
};
const DocumentedWrite kDocumentedWrites[] = {
    {"zelsLPToLSP_*", zelStsLspRootErr},          // the roots that were found
    {"zelsFilterUpdateWiener_*", zelStsBadArgErr},  // a negative ratio: every gain, 0 for it
    {"zelsSVD*", zelStsSvdCnvgErr},                // U, W and V as the last sweep left them
};
bool documentedWrite(const char* name, ZelStatus s) {
    for (const DocumentedWrite& d : kDocumentedWrites)
        if (d.status == s && fnmatch(d.glob, name, 0) == 0) return true;
    return false;
}

void describeAndDie() { fprintf(stderr, "\nhostile driver: the call that failed: %s\n", current); }
extern "C" void onSignal(int sig) {
    describeAndDie();
    signal(sig, SIG_DFL);
    raise(sig);
}

// ---- States -------------------------------------------------------------------------------

// How each kind of state is made and released, found in the table itself: a
// builder that returns it through a pointer to pointer, or one that builds
// it in caller memory of the size its query reports, and a release that
// takes it alone.
struct Kind {
    std::vector<const Export*> alloc;
    std::vector<const Export*> init;
    std::vector<const Export*> releases;
};
std::map<std::string, Kind> kinds;

// The element type in a name ("_16s" of zelsInitMCRA_32s is "_32s"): one kind
// of state may be built for several element types, and the functions of one
// type refuse a state built for another, as they should.
std::string typeTag(const char* name) {
    size_t best = std::string::npos;
    std::string tag;
    const std::string n = name;
    for (const char* t : {"_8u", "_16s", "_32s", "_32f", "_64f"}) {
        const size_t at = n.find(t);
        if (at != std::string::npos && at < best) best = at, tag = t;
    }
    return tag;
}

// The release for a state built by `builder`: the one of its element type.
const Export* releaseOf(const Kind& k, const Export* builder) {
    const std::string tag = builder ? typeTag(builder->name) : std::string();
    for (const Export* r : k.releases)
        if (typeTag(r->name) == tag) return r;
    return k.releases.empty() ? nullptr : k.releases.front();
}
std::map<std::string, const Export*> byName;

const Export* queryOf(const Export& e) {
    std::string n = e.name;
    const size_t at = n.find("Init");
    if (at == std::string::npos) return nullptr;
    // The query of InitX is GetSizeX; some families call theirs GetBufSize,
    // share one query among builder variants (AltInit, Init_L2) or both.
    std::vector<std::string> names;
    for (const char* q : {"GetSize", "GetBufSize"}) {
        std::string m = n;
        m.replace(at, 4, q);
        names.push_back(m);
        if (m.compare(0, 7, "zelsAlt") == 0) names.push_back("zels" + m.substr(7));
        const size_t variant = m.find('_', at);
        const size_t suffix = m.rfind('_');
        if (variant != std::string::npos && suffix > variant) names.push_back(m.substr(0, variant) + m.substr(suffix));
    }
    for (const std::string& m : names) {
        auto it = byName.find(m);
        if (it != byName.end()) return it->second;
    }
    return nullptr;
}

struct State {
    void* p = nullptr;
    std::string kind;
    bool callerMemory = false;  // p is a block of ours
    bool live = false;          // to be released after the call
    const Export* builtBy = nullptr;
};

class Call;
State makeState(const std::string& kind, int depth, bool callerMemoryOnly = false, const char* forName = nullptr);
void releaseState(State& s);

long long goodInt(const Param& p) {
    if (p.good[0]) return atoll(p.good);
    switch (p.role) {
        case Role::length: case Role::count: return 16;
        case Role::step: return 64;
        case Role::mode: return 1;
        case Role::index: return 1;
        case Role::integer: return 1;
        default: return 0;
    }
}
double goodReal(const Param& p) { return p.good[0] ? atof(p.good) : 1.0; }

// One call of an export: its arguments, the memory behind them, and what
// must be released afterwards.
class Call {
public:
    Call(const Export& e, int depth) : e_(e), depth_(depth) {
        for (int i = 0; i < e.n; ++i) args_[i] = good(i);
    }
    ~Call() {
        for (State& s : states_) releaseState(s);
        for (void* b : blocks_) free(b);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    Arg& arg(int i) { return args_[i]; }
    const Export& exp() const { return e_; }

    // A buffer of ours, remembered as writable when the call may write it.
    void* buffer(size_t bytes, const char* what, bool writable) {
        unsigned char* b = static_cast<unsigned char*>(malloc(bytes + kGuard));
        memset(b, 0x5a, bytes + kGuard);
        blocks_.push_back(b);
        if (writable) regions_.push_back({what, b, bytes + kGuard, {}});
        return b;
    }
    void* dataBuffer(const Param& p, Fill how) {
        const bool writable = p.role == Role::out;
        void* b = buffer(kElems * elemSize(p.elem), p.name, writable);
        // The good value of a buffer moves its data (roles.tsv).
        if (!writable || strstr(p.name, "SrcDst") != nullptr) fill(b, p.elem, kElems, how, 0, atoi(p.good));
        return b;
    }
    void* table(const Param& p, Fill how, int nullRow) {
        const bool writable = p.role == Role::table_out;
        const size_t es = elemSize(p.elem);
        unsigned char* data = static_cast<unsigned char*>(buffer(size_t(kRows) * kRowLen * es, p.name, writable));
        void** rows = static_cast<void**>(buffer(kRows * sizeof(void*), "table", false));
        for (int r = 0; r < kRows; ++r) {
            rows[r] = data + size_t(r) * kRowLen * es;
            if (!writable) fill(rows[r], p.elem, kRowLen, how, r);
        }
        if (nullRow >= 0) rows[nullRow] = nullptr;
        return rows;
    }
    void* slot(const Param& p) {
        // A pointer to pointer that a builder fills: one sentinel pointer.
        void** s = static_cast<void**>(buffer(sizeof(void*), p.name, true));
        return s;
    }
    void* stateMemory(const char* what, size_t bytes) { return buffer(bytes, what, true); }
    State& keep(State s) {
        states_.push_back(s);
        return states_.back();
    }
    void* validState(const Param& p) {
        State s = makeState(p.base, depth_ + 1, false, e_.name);
        if (s.p == nullptr) return garbageState();
        return keep(s).p;
    }
    void* garbageState() { return buffer(kStateBlock / 16, "garbage state", false); }
    // A table of states read by the call (one per stream): every entry the
    // same valid state, entry `nullEntry` null.
    void* stateTable(const Param& p, int nullEntry) {
        void** t = static_cast<void**>(buffer(kRows * sizeof(void*), "state table", false));
        void* one = depth_ < 2 ? validState(p) : garbageState();
        for (int r = 0; r < kRows; ++r) t[r] = r == nullEntry ? nullptr : one;
        return t;
    }

    Arg good(int i) {
        const Param& p = e_.p[i];
        Arg a;
        a.i = 0;
        switch (p.role) {
            case Role::in: case Role::out: a.p = dataBuffer(p, Fill::Good); break;
            case Role::in_rising: {
                a.p = dataBuffer(p, Fill::Good);
                Zel8u* b = static_cast<Zel8u*>(a.p);
                for (int k = 0; k < kElems; ++k) {
                    // 0, 1, 2, ... in the element type.
                    Zel8u one[8] = {};
                    Zel32s v = k;
                    if (p.elem == Elem::E16s) { Zel16s w = Zel16s(k); memcpy(one, &w, 2); }
                    else if (p.elem == Elem::E32f) { Zel32f w = Zel32f(k); memcpy(one, &w, 4); }
                    else if (p.elem == Elem::E64f) { Zel64f w = k; memcpy(one, &w, 8); }
                    else memcpy(one, &v, 4);
                    memcpy(b + size_t(k) * elemSize(p.elem), one, elemSize(p.elem));
                }
                break;
            }
            case Role::in_falling: {
                // top, top * 63/64, ... : an autocorrelation, a filter's
                // small coefficients, line spectral cosines or gains in 0 to 1.
                a.p = dataBuffer(p, Fill::Good);
                const double top = p.good[0] ? atof(p.good) : 1.0;
                for (int k = 0; k < kElems; ++k) {
                    const double v = top * double(64 - k % 64) / 64.0;
                    void* at = static_cast<Zel8u*>(a.p) + size_t(k) * elemSize(p.elem);
                    if (p.elem == Elem::E32f) { Zel32f w = Zel32f(v); memcpy(at, &w, 4); }
                    else if (p.elem == Elem::E64f) memcpy(at, &v, 8);
                    else if (p.elem == Elem::E16s) { Zel16s w = Zel16s(llround(v)); memcpy(at, &w, 2); }
                    else { Zel32s w = Zel32s(llround(v)); memcpy(at, &w, 4); }
                }
                break;
            }
            case Role::record: {
                // A configuration record, filled by the library's own defaults.
                a.p = buffer(kElems * sizeof(double), p.name, false);
                auto it = byName.find(p.good);
                if (it != byName.end()) {
                    Arg one[1];
                    one[0].p = a.p;
                    it->second->call(one);
                }
                break;
            }
            case Role::count_in: {
                int* c = static_cast<int*>(buffer(kElems * sizeof(int), p.name, false));
                for (int k = 0; k < kElems; ++k) c[k] = 2;
                a.p = c;
                break;
            }
            case Role::table_in: case Role::table_out: a.p = table(p, Fill::Good, -1); break;
            case Role::state_out: a.p = slot(p); break;
            case Role::state_mem: {
                a.p = stateMemory(p.name, kStateBlock);
                break;
            }
            case Role::state: a.p = depth_ < 2 ? validState(p) : garbageState(); break;
            case Role::state_table: a.p = stateTable(p, -1); break;
            case Role::real: a.f = goodReal(p); break;
            default: a.i = goodInt(p); break;
        }
        return a;
    }

    // Sizes the caller memory of a builder by its query, when it has one.
    void sizeStateMemory(int i) {
        const Export* q = queryOf(e_);
        if (q == nullptr) return;
        int size = 0;
        if (runQuery(*q, &size) < 0) return;
        args_[i].p = stateMemory(e_.p[i].name, size_t(size));
    }
    ZelStatus runQuery(const Export& q, int* pSize) {
        Arg qa[24];
        for (int k = 0; k < q.n; ++k) {
            const Param& qp = q.p[k];
            qa[k].i = 0;
            bool found = false;
            for (int j = 0; j < e_.n && !found; ++j)
                if (strcmp(e_.p[j].name, qp.name) == 0 && e_.p[j].stars == 0) qa[k] = args_[j], found = true;
            if (found) continue;
            // The size in bytes is pSize; other sizes a query reports go to scratch.
            if (qp.stars == 1 && qp.elem == Elem::EInt && qp.role == Role::out)
                qa[k].p = strcmp(qp.name, "pSize") == 0 ? static_cast<void*>(pSize) : static_cast<void*>(scratch_ + k);
            else if (qp.role == Role::real) qa[k].f = goodReal(qp);
            else if (qp.stars == 0) qa[k].i = goodInt(qp);
            else qa[k].p = nullptr;
        }
        return q.call(qa);
    }

    ZelStatus run() {
        for (Region& r : regions_) r.before.assign(r.p, r.p + r.n);
        ++stats.calls;
        const ZelStatus s = e_.call(args_);
        if (s < 0) {
            ++stats.negative;
            const bool documented = documentedWrite(e_.name, s);
            for (Region& r : regions_)
                if (!documented && memcmp(r.before.data(), r.p, r.n) != 0) {
                    ++stats.writesOnError;
                    fprintf(stderr, "WRITE ON ERROR: %s returned %d and changed %s\n", current, s, r.what);
                }
        } else {
            ++stats.succeeded;
        }
        afterCall(s);
        return s;
    }

private:
    // What a successful call built is released; a state that a release
    // took is not released again.
    void afterCall(ZelStatus s) {
        const bool isRelease = strstr(e_.name, "Free") != nullptr;
        for (int i = 0; i < e_.n; ++i) {
            const Param& p = e_.p[i];
            if (p.role == Role::state_out && s >= 0 && args_[i].p != nullptr) {
                void* built = *static_cast<void**>(args_[i].p);
                bool ours = false;
                for (Region& r : regions_)
                    if (r.p == args_[i].p && memcmp(r.before.data(), r.p, sizeof(void*)) == 0) ours = true;
                if (!ours && built != nullptr) keep(State{built, p.base, false, true, &e_});
            }
            if (isRelease && s >= 0 && p.role == Role::state)
                for (State& st : states_)
                    if (st.p == args_[i].p && !st.callerMemory) st.live = false;
        }
    }

    const Export& e_;
    int depth_;
    Arg args_[24];
    int scratch_[24] = {};
    std::vector<void*> blocks_;
    std::vector<Region> regions_;
    std::vector<State> states_;
};

// Builders of the consumer's element type come first.
std::vector<const Export*> byType(const std::vector<const Export*>& all, const char* forName) {
    std::vector<const Export*> out;
    const std::string tag = forName ? typeTag(forName) : std::string();
    for (const Export* e : all)
        if (!tag.empty() && typeTag(e->name) == tag) out.push_back(e);
    for (const Export* e : all)
        if (tag.empty() || typeTag(e->name) != tag) out.push_back(e);
    return out;
}

State makeState(const std::string& kind, int depth, bool callerMemoryOnly, const char* forName) {
    State s;
    s.kind = kind;
    auto it = kinds.find(kind);
    if (it == kinds.end() || depth > 2) return s;
    for (const Export* e : byType(it->second.alloc, forName)) {
        if (callerMemoryOnly) break;
        Call c(*e, depth);
        int slot = -1;
        for (int i = 0; i < e->n; ++i)
            if (e->p[i].role == Role::state_out && kind == e->p[i].base) slot = i;
        void* made = nullptr;
        c.arg(slot).p = &made;
        // A warning still builds the state (a codebook with fewer entries).
        if (e->call(&c.arg(0)) >= zelStsNoErr && made != nullptr) {
            s.p = made;
            s.live = true;
            s.builtBy = e;
            return s;
        }
    }
    for (const Export* e : byType(it->second.init, forName)) {
        Call c(*e, depth);
        int slot = -1;
        for (int i = 0; i < e->n; ++i)
            if (e->p[i].role == Role::state_mem && kind == e->p[i].base) slot = i;
        int size = 0;
        const Export* q = queryOf(*e);
        if (q == nullptr || c.runQuery(*q, &size) != zelStsNoErr) continue;
        void* mem = malloc(size_t(size));
        c.arg(slot).p = mem;
        if (e->call(&c.arg(0)) >= zelStsNoErr) {
            s.p = mem;
            s.callerMemory = true;
            s.live = true;
            s.builtBy = e;
            return s;
        }
        free(mem);
    }
    return s;
}

void releaseState(State& s) {
    if (!s.live || s.p == nullptr) return;
    s.live = false;
    if (s.callerMemory) {
        free(s.p);
        return;
    }
    auto it = kinds.find(s.kind);
    const Export* release = it != kinds.end() ? releaseOf(it->second, s.builtBy) : nullptr;
    if (release != nullptr) {
        Arg a[1];
        a[0].p = s.p;
        release->call(a);
    } else {
        zelFree(s.p);
    }
}

// A builder of this kind for an element type other than the consumer's.
const Export* otherTypeBuilder(const std::string& kind, const char* consumer) {
    auto it = kinds.find(kind);
    const std::string tag = typeTag(consumer);
    if (it == kinds.end() || tag.empty()) return nullptr;
    for (const auto* list : {&it->second.alloc, &it->second.init})
        for (const Export* b : *list)
            if (!typeTag(b->name).empty() && typeTag(b->name) != tag) return b;
    return nullptr;
}

// A state of caller memory, built and then released: cleared, not freed.
void* clearedState(Call& c, const std::string& kind) {
    auto it = kinds.find(kind);
    if (it == kinds.end() || it->second.releases.empty()) return nullptr;
    State s = makeState(kind, 1, true, c.exp().name);
    if (s.p == nullptr) return nullptr;
    Arg a[1];
    a[0].p = s.p;
    const bool cleared = releaseOf(it->second, s.builtBy)->call(a) >= 0;
    s.live = true;  // the block itself is still ours
    c.keep(s);
    return cleared ? s.p : nullptr;
}

// ---- Hostile values per role ------------------------------------------------------------

struct Variant {
    const char* label;
    Arg value;
};

bool isBuilder(const Export& e) {
    return strstr(e.name, "GetSize") != nullptr || strstr(e.name, "Init") != nullptr;
}

// The row pointers of a D2L table are the caller's promise, as a buffer's
// length is: only the table's own pointer is tested, except by the functions
// whose documentation says they test every row. Only those get null rows.
bool testsRows(const Export& e) {
    static const char* const kPatterns[] = {"zelsLogGaussMixture_Select*", "zelsBlockDMatrixInitAlloc_*"};
    for (const char* pattern : kPatterns)
        if (fnmatch(pattern, e.name, 0) == 0) return true;
    return false;
}

// Sizes that only builders and queries can be handed safely: for a function
// on caller buffers a length of INT_MAX with real buffers is the caller's
// promise to own that much memory.
const long long kHugeLengths[] = {INT_MAX, INT_MAX - 1, INT_MAX - 2, 1 << 28, 1 << 20, 65536};

template <class F>
void forEachVariant(Call& c, int i, F f) {
    const Export& e = c.exp();
    const Param& p = e.p[i];
    auto integer = [&](const char* label, long long v) {
        Arg a;
        a.i = v;
        f(label, a);
    };
    auto real = [&](const char* label, double v) {
        Arg a;
        a.f = v;
        f(label, a);
    };
    auto pointer = [&](const char* label, void* v) {
        Arg a;
        a.p = v;
        f(label, a);
    };
    switch (p.role) {
        case Role::length:
        case Role::count:
            integer("0", 0), integer("-1", -1), integer("INT_MIN", INT_MIN);
            if (isBuilder(e) && p.role == Role::length)
                for (long long v : kHugeLengths) integer("huge", v);
            break;
        case Role::step:
            integer("0", 0), integer("-1", -1), integer("INT_MIN", INT_MIN), integer("1", 1);
            break;
        case Role::scale:
            for (long long v : {(long long)INT_MIN, (long long)INT_MAX, -100000LL, 100000LL, -33LL, 33LL, -32LL, 32LL})
                integer("scale", v);
            break;
        case Role::mode:
            for (long long v : {-1LL, 0LL, 8LL, 255LL, (long long)INT_MAX, (long long)INT_MIN}) integer("mode", v);
            break;
        case Role::index:
            for (long long v : {-1LL, 0LL, 100000LL, (long long)INT_MAX, (long long)INT_MIN}) integer("index", v);
            break;
        case Role::integer:
            if (p.elem == Elem::E16s) {
                for (long long v : {-32768LL, 32767LL, 0LL, -1LL}) integer("int16", v);
            } else {
                for (long long v : {0LL, -1LL, (long long)INT_MIN, (long long)INT_MAX}) integer("int", v);
            }
            break;
        case Role::real:
            for (double v : {double(NAN), double(INFINITY), -double(INFINITY), 0.0, -1.0, double(FLT_MAX), 1e-40})
                real("real", v);
            break;
        case Role::in:
        case Role::in_rising:
        case Role::in_falling:
        case Role::count_in:
            pointer("null", nullptr);
            pointer("NaN data", c.dataBuffer(p, Fill::NaN));
            pointer("infinite data", c.dataBuffer(p, Fill::Inf));
            pointer("extreme data", c.dataBuffer(p, Fill::Extreme));
            break;
        case Role::record: {
            pointer("null", nullptr);
            void* zero = c.buffer(kElems * sizeof(double), "zeroed record", false);
            memset(zero, 0, kElems * sizeof(double));
            pointer("zeroed record", zero);
            pointer("garbage record", c.buffer(kElems * sizeof(double), "garbage record", false));
            break;
        }
        case Role::out:
            pointer("null", nullptr);
            // The same memory as the first input of the same element type.
            for (int k = 0; k < e.n; ++k)
                if (k != i && e.p[k].role == Role::in && e.p[k].elem == p.elem) {
                    pointer("aliased", c.arg(k).p);
                    break;
                }
            break;
        case Role::table_in:
        case Role::table_out:
            pointer("null table", nullptr);
            if (testsRows(e)) {
                pointer("null first row", c.table(p, Fill::Good, 0));
                pointer("null row", c.table(p, Fill::Good, 15));
            }
            if (p.role == Role::table_in) pointer("NaN rows", c.table(p, Fill::NaN, -1));
            break;
        case Role::state_out:
        case Role::state_mem:
            pointer("null", nullptr);
            break;
        case Role::state_table:
            pointer("null table", nullptr);
            pointer("null first state", c.stateTable(p, 0));
            pointer("null state", c.stateTable(p, 1));
            break;
        case Role::state: {
            pointer("null", nullptr);
            void* zero = c.stateMemory("zeroed state", kStateBlock / 16);
            memset(zero, 0, kStateBlock / 16);
            pointer("zeroed state", zero);
            pointer("garbage state", c.garbageState());
            for (auto& k : kinds)
                if (k.first != p.base) {
                    State other = makeState(k.first, 1);
                    if (other.p != nullptr) pointer("wrong-kind state", c.keep(other).p);
                }
            if (void* cleared = clearedState(c, p.base)) pointer("cleared state", cleared);
            if (const Export* other = otherTypeBuilder(p.base, e.name)) {
                State s = makeState(p.base, 1, false, other->name);
                if (s.p != nullptr) pointer("state of another element type", c.keep(s).p);
            }
            break;
        }
        default: break;
    }
}

void driveExport(const Export& e) {
    ++stats.exportsDriven;
    {
        Call base(e, 0);
        for (int i = 0; i < e.n; ++i)
            if (e.p[i].role == Role::state_mem) base.sizeStateMemory(i);
        snprintf(current, sizeof current, "%s (the call all others depart from)", e.name);
        // Where it fails, the hostile calls test little beyond the first
        // check: roles.tsv should give that export workable values.
        const ZelStatus s = base.run();
        if (s < 0) stats.notDriven.push_back(std::string(e.name) + " " + std::to_string(s));
    }
    for (int i = 0; i < e.n; ++i) {
        // Each hostile call gets fresh buffers and states of its own.
        std::vector<std::string> labels;
        {
            Call probe(e, 0);
            forEachVariant(probe, i, [&](const char* label, Arg) { labels.push_back(label); });
        }
        for (size_t v = 0; v < labels.size(); ++v) {
            Call c(e, 0);
            size_t at = 0;
            Arg chosen;
            chosen.i = 0;
            const char* label = "";
            forEachVariant(c, i, [&](const char* l, Arg a) {
                if (at++ == v) chosen = a, label = l;
            });
            c.arg(i) = chosen;
            // Caller memory of the size the query gives for these arguments.
            for (int k = 0; k < e.n; ++k)
                if (k != i && e.p[k].role == Role::state_mem) c.sizeStateMemory(k);
            snprintf(current, sizeof current, "%s with %s = %s (%lld)", e.name, e.p[i].name, label, chosen.i);
            c.run();
        }
    }
}

// ---- The size rule ------------------------------------------------------------------------

struct SizeStats {
    long pairs = 0, refusedBoth = 0, built = 0, violations = 0, skipped = 0;
} sizeStats;

// The builder against its query on one set of arguments.
void sizeCase(const Export& init, const Export& query, int slot, const std::vector<Arg>& args) {
    Call c(init, 0);
    for (int i = 0; i < init.n; ++i)
        if (i != slot && init.p[i].stars == 0) c.arg(i) = args[size_t(i)];
    int size = 0;
    const ZelStatus qs = c.runQuery(query, &size);
    const size_t bytes = qs < 0 ? 4096 : size_t(size);
    if (bytes > (size_t(1) << 28)) {
        ++sizeStats.skipped;
        return;
    }
    unsigned char* mem = static_cast<unsigned char*>(malloc(bytes + kGuard));
    memset(mem, 0xa5, bytes + kGuard);
    POISON(mem + bytes, kGuard);
    c.arg(slot).p = mem;
    const ZelStatus is = init.call(&c.arg(0));
    UNPOISON(mem + bytes, kGuard);
    bool touched = false, past = false;
    for (size_t k = 0; k < bytes + kGuard; ++k)
        if (mem[k] != 0xa5) (k < bytes ? touched : past) = true;
    if (qs < 0) {
        ++sizeStats.refusedBoth;
        if (is >= 0 || touched || past) {
            ++sizeStats.violations;
            fprintf(stderr, "SIZE RULE: %s: the query refused (%d), the builder returned %d%s\n", current, qs, is,
                    touched || past ? " and wrote" : "");
        }
    } else {
        ++sizeStats.built;
        if (past || (is < 0 && touched)) {
            ++sizeStats.violations;
            fprintf(stderr, "SIZE RULE: %s: builder returned %d and wrote %s\n", current, is,
                    past ? "past the queried size" : "on error");
        }
    }
    // A built state in our memory may hold allocations of its own.
    if (is >= 0) {
        auto it = kinds.find(init.p[slot].base);
        const Export* release = it != kinds.end() ? releaseOf(it->second, &init) : nullptr;
        if (release != nullptr) {
            Arg a[1];
            a[0].p = mem;
            release->call(a);
        }
    }
    free(mem);
}

void sizeRule(const Export& init) {
    const Export* query = queryOf(init);
    if (query == nullptr) return;
    int slot = -1;
    for (int i = 0; i < init.n; ++i)
        if (init.p[i].role == Role::state_mem) slot = i;
    if (slot < 0) return;
    ++sizeStats.pairs;
    std::vector<Arg> base(size_t(init.n));
    {
        Call c(init, 0);
        for (int i = 0; i < init.n; ++i) base[size_t(i)] = c.arg(i);
    }
    const long long values[] = {0, -1, INT_MIN, INT_MAX, INT_MAX - 1, 1LL << 28, 1 << 20, 65536, 65535,
                                8193, 8192, 4097, 1024, 257, 33, 2, 1};
    std::vector<int> sized;
    for (int i = 0; i < init.n; ++i)
        if (init.p[i].stars == 0 && (init.p[i].role == Role::length || init.p[i].role == Role::mode)) sized.push_back(i);
    snprintf(current, sizeof current, "%s with its good arguments", init.name);
    sizeCase(init, *query, slot, base);
    for (int i : sized)
        for (long long v : values) {
            std::vector<Arg> a = base;
            a[size_t(i)].i = v;
            snprintf(current, sizeof current, "%s with %s = %lld", init.name, init.p[i].name, v);
            sizeCase(init, *query, slot, a);
        }
    // Two sizes at once: products that overflow.
    for (int i : sized)
        for (int j : sized)
            if (i < j)
                for (long long v : {(long long)INT_MAX, 1LL << 20, 65536LL, 46341LL}) {
                    std::vector<Arg> a = base;
                    a[size_t(i)].i = v, a[size_t(j)].i = v;
                    snprintf(current, sizeof current, "%s with %s = %s = %lld", init.name, init.p[i].name,
                             init.p[j].name, v);
                    sizeCase(init, *query, slot, a);
                }
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGSEGV, onSignal);
    signal(SIGBUS, onSignal);
    signal(SIGFPE, onSignal);
    signal(SIGABRT, onSignal);
    const bool sizes = argc > 1 && strcmp(argv[1], "--sizes") == 0;
    const char* only = argc > 2 ? argv[2] : (argc > 1 && !sizes ? argv[1] : nullptr);
    const int count = int(sizeof kExports / sizeof kExports[0]);
    for (const Export& e : kExports) byName[e.name] = &e;
    for (const Export& e : kExports)
        for (int i = 0; i < e.n; ++i) {
            const Param& p = e.p[i];
            if (p.role == Role::state_out) kinds[p.base].alloc.push_back(&e);
            if (p.role == Role::state_mem && queryOf(e) != nullptr) kinds[p.base].init.push_back(&e);
            if (p.role == Role::state && e.n == 1 && strstr(e.name, "Free") != nullptr) kinds[p.base].releases.push_back(&e);
        }
    // The builder with the most arguments makes the most complete state (a
    // bank with its centres and weights rather than an empty one).
    for (auto& k : kinds)
        std::stable_sort(k.second.alloc.begin(), k.second.alloc.end(),
                         [](const Export* a, const Export* b) { return a->n > b->n; });
    if (sizes) {
        for (const Export& e : kExports)
            if (only == nullptr || strstr(e.name, only) != nullptr) sizeRule(e);
        printf("size rule: %ld builder/query pairs, %ld cases refused by both, %ld built, %ld too large to try, "
               "%ld violations\n",
               sizeStats.pairs, sizeStats.refusedBoth, sizeStats.built, sizeStats.skipped, sizeStats.violations);
        return sizeStats.violations == 0 && sizeStats.pairs > 0 ? 0 : 1;
    }
    for (const Export& e : kExports)
        if (only == nullptr || strstr(e.name, only) != nullptr) driveExport(e);
    printf("hostile driver: %d of %d exports driven (%d in the headers), %ld calls, %ld negative statuses, "
           "%ld successes, %ld writes on error, 0 crashes\n",
           stats.exportsDriven, count, kHeaderExports, stats.calls, stats.negative, stats.succeeded,
           stats.writesOnError);
    printf("  %zu exports whose departure call fails:", stats.notDriven.size());
    for (const std::string& n : stats.notDriven) printf(" %s", n.c_str());
    printf("\n");
    for (const auto& k : kinds)
        printf("  state %s: %s%s%s\n", k.first.c_str(), k.second.alloc.empty() ? "" : "allocating builder ",
               k.second.init.empty() ? "" : "builder in caller memory ", k.second.releases.empty() ? "no release" : "release");
    return stats.writesOnError == 0 ? 0 : 1;
}
