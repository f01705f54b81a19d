/* Random numbers: the exported interface of the kernel library.
 *
 * A stream is one 128-byte aligned allocation: a 16-byte header (generator
 * identifier, header flag, chunk list) followed by the generator's state.
 * Generators are registry rows (qor_rng_brng_properties): sizes, output
 * word shape and four functions.  Two tables of rows are exported as data,
 * __RegBrngsNew (current identifiers, (row + 1) << 20 plus a member number)
 * and __RegBrngs (legacy identifiers 0 to 280).  Distributions reach a
 * generator only through its row's fill functions.
 *
 * Every function returns a status, 0 on success and one of the negative
 * QOR_RNG_STATUS_ codes on failure, unless its comment says otherwise. */
#ifndef QOR_RNG_H
#define QOR_RNG_H

#include "qor_types.h"
#include "qor_rng_distributions.h"

#ifndef QOR_RNG_API
#  ifdef QOR_BUILDING_KERNELS
#    define QOR_RNG_API QOR_EXPORT
#  else
#    define QOR_RNG_API QOR_IMPORT
#  endif
#endif

QOR_BEGIN_C

/* ---- Status codes ---------------------------------------------------------- */

enum {
    QOR_RNG_STATUS_OK = 0,
    QOR_RNG_STATUS_BAD_METHOD = -2,              /* init_stream method above 3 */
    QOR_RNG_STATUS_BAD_ARGUMENT = -3,            /* null or zero argument, bounds out of order */
    QOR_RNG_STATUS_NO_MEMORY = -4,               /* an allocation failed */
    QOR_RNG_STATUS_NULL_FUNCTION = -5,           /* registration: a null function pointer */
    QOR_RNG_STATUS_BAD_BRNG = -1000,             /* identifier or member out of range; generator not available */
    QOR_RNG_STATUS_NO_LEAPFROG = -1002,          /* the generator has no leapfrog */
    QOR_RNG_STATUS_NO_SKIP_AHEAD_EX = -1004,     /* the generator has no multi-word skip-ahead */
    QOR_RNG_STATUS_REG_BAD_STATE_SIZE = -1008,   /* registration: state_size negative */
    QOR_RNG_STATUS_REG_BAD_WORD_SIZE = -1009,    /* registration: word_size not 4, 8 or 16 */
    QOR_RNG_STATUS_REG_BAD_WORD_COUNT = -1010,   /* registration: state_word_count below 1 */
    QOR_RNG_STATUS_REG_BAD_BIT_COUNT = -1011,    /* registration: bit_count below 1 */
    QOR_RNG_STATUS_BAD_STREAM_COUNT = -1013,     /* leapfrog: negative number of streams */
    QOR_RNG_STATUS_FILE_CLOSE = -1100,
    QOR_RNG_STATUS_FILE_OPEN = -1101,
    QOR_RNG_STATUS_FILE_WRITE = -1102,
    QOR_RNG_STATUS_FILE_READ = -1103,            /* short read, or a chunk record of unknown version */
    QOR_RNG_STATUS_BAD_STREAM_IMAGE = -1110,     /* saved file: bad signature, size, header or generator */
    QOR_RNG_STATUS_STREAM_IMAGE_VERSION = -1111, /* saved file: newer format version */
    QOR_RNG_STATUS_ABSTRACT_KIND = -1122,        /* abstract stream asked for a kind it does not hold */
    QOR_RNG_STATUS_NO_RDRAND = -1130,            /* hardware-generator stream without RDRAND */
    QOR_RNG_STATUS_NO_AES = -1140,               /* ARS5 stream without AES instructions */
    QOR_RNG_STATUS_BAD_MEMORY_IMAGE = -1200,     /* memory image: any header validation failure */
    QOR_RNG_STATUS_RO_DATA_TABLE = -3001         /* read-only data table: key absent or empty, or table full */
};

/* ---- Records --------------------------------------------------------------- */

typedef struct qor_rng_chunk qor_rng_chunk;

/* The stream header; the generator's state follows it in the same block. */
typedef struct qor_rng_stream {
    uint32_t brng;         /* identifier the stream was created with (either form) */
    int32_t header_flag;   /* 1 once created; copied with the stream */
    qor_rng_chunk* chunks; /* newest first, or null */
} qor_rng_stream;

/* Data attached to a stream.  Private data belongs to the chunk (allocated
 * with qor_serv_allocate, freed with the chunk); data whose key is in the
 * read-only table is shared and reference counted. */
struct qor_rng_chunk {
    uint32_t id;   /* kind of data, chosen by the generator that attaches it */
    uint32_t size; /* bytes of data */
    void* data;
    qor_rng_chunk* next;
    uint64_t key[2]; /* identity of shared data; both zero for private data */
};

/* One entry of the process-wide read-only data table. */
typedef struct qor_rng_ro_entry {
    uint64_t key[2];
    uint32_t ref_count;
    void* data; /* freed when ref_count reaches 0 */
} qor_rng_ro_entry;

/* Generator initialiser: method 0 seeds from n 32-bit words, 1 makes the
 * stream the params[0]-th of n interleaved streams, 2 skips ahead by the
 * 64-bit count in params[0..1] (n = 2), 3 skips ahead by a count of n
 * 64-bit words.  A method above 3 gives QOR_RNG_STATUS_BAD_METHOD. */
typedef int32_t (*qor_rng_init_fn)(uint32_t method, qor_rng_stream* stream, int32_t n, const uint32_t* params);
/* Fills n uniforms on [a, b); n of 0 or below writes nothing. */
typedef int32_t (*qor_rng_fill_single_fn)(qor_rng_stream* stream, int32_t n, float* r, float a, float b);
typedef int32_t (*qor_rng_fill_double_fn)(qor_rng_stream* stream, int32_t n, double* r, double a, double b);
/* Fills n raw integer words of the row's word_size bytes each. */
typedef int32_t (*qor_rng_fill_int_fn)(qor_rng_stream* stream, int32_t n, void* r);

/* A registry row. */
typedef struct qor_rng_brng_properties {
    int32_t state_size;       /* bytes of a stream record, the 16-byte header included */
    int32_t state_word_count; /* state words; times word_size is what a state copy moves */
    int32_t includes_zero;    /* 1 if an integer output can be 0 */
    int32_t word_size;        /* bytes per integer output word: 4, 8 or 16 */
    int32_t bit_count;        /* significant bits per integer output word */
    qor_rng_init_fn init_stream;
    qor_rng_fill_single_fn fill_single;
    qor_rng_fill_double_fn fill_double;
    qor_rng_fill_int_fn fill_int;
} qor_rng_brng_properties;

enum {
    QOR_RNG_REGISTRY_ROOM = 512,   /* rows in each table */
    QOR_RNG_LEGACY_SLOTS = 281,    /* usable legacy identifiers 0 to 280 */
    QOR_RNG_BUILTIN_ROWS = 16,     /* rows of __RegBrngsNew at start */
    QOR_RNG_RO_TABLE_ROOM = 128    /* entries of the read-only data table */
};

/* The current table: rows, then the count of rows in use, then one member
 * count per row. */
typedef struct qor_rng_registry {
    qor_rng_brng_properties rows[QOR_RNG_REGISTRY_ROOM];
    int32_t count;
    int32_t member_counts[QOR_RNG_REGISTRY_ROOM];
} qor_rng_registry;

/* Both tables are filled when the library loads. */
QOR_RNG_API extern qor_rng_registry __RegBrngsNew;
QOR_RNG_API extern qor_rng_brng_properties __RegBrngs[QOR_RNG_REGISTRY_ROOM];

/* Current identifiers of the built-in rows. */
enum {
    QOR_RNG_BRNG_MCG31M1 = 0x100000,
    QOR_RNG_BRNG_R250 = 0x200000,
    QOR_RNG_BRNG_MRG32K3A = 0x300000,
    QOR_RNG_BRNG_MCG59 = 0x400000,
    QOR_RNG_BRNG_WH = 0x500000,
    QOR_RNG_BRNG_SOBOL = 0x600000,
    QOR_RNG_BRNG_NIEDERR = 0x700000,
    QOR_RNG_BRNG_MT19937 = 0x800000,
    QOR_RNG_BRNG_MT2203 = 0x900000,
    QOR_RNG_BRNG_IABSTRACT = 0xA00000,
    QOR_RNG_BRNG_DABSTRACT = 0xB00000,
    QOR_RNG_BRNG_SABSTRACT = 0xC00000,
    QOR_RNG_BRNG_SFMT19937 = 0xD00000,
    QOR_RNG_BRNG_NONDETERM = 0xE00000,
    QOR_RNG_BRNG_ARS5 = 0xF00000,
    QOR_RNG_BRNG_PHILOX4X32X10 = 0x1000000
};

/* Bit 30 of a distribution's method word: the accurate variant. */
enum { QOR_RNG_METHOD_ACCURATE = 0x40000000 };

/* ---- Streams --------------------------------------------------------------- */

/* Creates and seeds a stream; on an initialiser failure the stream is still
 * handed back and must be deleted by the caller. */
QOR_RNG_API int32_t __rixNewStreamEx(qor_rng_stream** stream, int32_t brng, int32_t n, const uint32_t* params);
/* Validates (table, row, member) and allocates an unseeded stream record. */
QOR_RNG_API int32_t __rixAllocateStream(qor_rng_stream** stream, const qor_rng_brng_properties* table, int32_t brng,
                                        int32_t row, int32_t member);
/* Deletes the chunks and the record and nulls the caller's pointer. */
QOR_RNG_API int32_t __rixDeleteStream(qor_rng_stream** stream);
QOR_RNG_API int32_t __rixCopyStream(qor_rng_stream** copy, const qor_rng_stream* source);
QOR_RNG_API int32_t __rixCopyStreamState(qor_rng_stream* destination, const qor_rng_stream* source);
QOR_RNG_API int32_t __rixLeapfrogStream(qor_rng_stream* stream, int32_t k, int32_t nstreams);
QOR_RNG_API int32_t __rixSkipAheadStream(qor_rng_stream* stream, uint64_t nskip);
QOR_RNG_API int32_t __rixSkipAheadStreamEx(qor_rng_stream* stream, int32_t n, const uint64_t* nskip);
/* The stream's identifier (0 for a null stream). */
QOR_RNG_API int32_t __rixGetStreamStateBrng(const qor_rng_stream* stream);

/* ---- Registry -------------------------------------------------------------- */

/* Splits an identifier into row and member and returns the table it
 * indexes; no validity check. */
QOR_RNG_API const qor_rng_brng_properties* __rixGetBrngBaseOffset(int32_t brng, int32_t* row, int32_t* member);
QOR_RNG_API int32_t __rixIsBrngValid(const qor_rng_brng_properties* table, int32_t row, int32_t member);
QOR_RNG_API int32_t __rixGetBrngProperties(int32_t brng, qor_rng_brng_properties* properties);
/* Rows in use in __RegBrngsNew. */
QOR_RNG_API int32_t __rixGetNumRegBrngs(void);
/* Appends a row (unguarded); returns its identifier or a negative status. */
QOR_RNG_API int32_t __rixRegisterBrng(const qor_rng_brng_properties* properties);

/* ---- Chunks and the read-only data table ------------------------------------ */

/* Attaches data at the head of the list.  The chunk adopts data unless key
 * names an entry of the read-only table, whose shared block is used
 * instead (the caller keeps its own block then).  A non-zero key not yet in
 * the table enters it while it has fewer than 127 entries. */
QOR_RNG_API int32_t __rixAddChunk(qor_rng_stream* stream, uint32_t id, const uint64_t* key, void* data, uint32_t size);
/* Data of the newest chunk with this id, or null. */
QOR_RNG_API void* __rixSearchChunk(const qor_rng_stream* stream, uint32_t id);
/* Number of chunks (0 for a null stream). */
QOR_RNG_API int32_t __rixGetNumChunks(const qor_rng_stream* stream);
QOR_RNG_API int32_t __rixDeleteChunks(qor_rng_stream* stream);
/* Removes the chunks with this id; the list head becomes the last chunk
 * kept in the walk, so with several chunks kept only the oldest kept one
 * stays reachable. */
QOR_RNG_API int32_t __rixDeleteChunksById(qor_rng_stream* stream, uint32_t id);
/* Adds copies of the source's chunks to the destination (reverse order). */
QOR_RNG_API int32_t __rixCopyChunks(qor_rng_stream* destination, const qor_rng_stream* source);

QOR_RNG_API int32_t __rixCreateGlobRODataTableEntry(qor_rng_ro_entry** entry, const uint64_t* key, void* data);
QOR_RNG_API int32_t __rixFindGlobRODataTableEntry(qor_rng_ro_entry** entry, const uint64_t* key);
/* Adds a reference to the entry with this key and stores its data in
 * *holder; nothing happens when the key is absent. */
QOR_RNG_API int32_t __rixRegisterGlobRODataReference(void** holder, const uint64_t* key);
/* Drops a reference; the last one frees the block and the entry. */
QOR_RNG_API int32_t __rixUnregisterGlobRODataReference(const uint64_t* key);
/* Sets key[1] = tag and waits until no entry with the key exists. */
QOR_RNG_API int32_t __rixGenerateNewGlobalRODataTableEntryId(uint64_t* key, uint64_t tag);

/* ---- Processor tests (1 or 0) ---------------------------------------------- */

QOR_RNG_API int32_t __rixCPUisAES(void);
QOR_RNG_API int32_t __rixCPUisRDRAND(void);
QOR_RNG_API int32_t __rixCPUisVAES(void);

/* ---- Saved streams --------------------------------------------------------- */

/* name_length of 0 or more: the name is that many bytes, not terminated;
 * negative: the name is zero-terminated. */
QOR_RNG_API int32_t __rixSaveStreamF(const qor_rng_stream* stream, const char* name, int32_t name_length);
QOR_RNG_API int32_t __rixLoadStreamF(qor_rng_stream** stream, const char* name, int32_t name_length);
/* The buffer must hold __rixGetStreamSize(stream) bytes. */
QOR_RNG_API int32_t __rixSaveStreamM(const qor_rng_stream* stream, char* buffer);
QOR_RNG_API int32_t __rixLoadStreamM(qor_rng_stream** stream, const char* buffer);
/* Bytes of the saved image, or a negative status for a null stream or an
 * unknown generator. */
QOR_RNG_API int32_t __rixGetStreamSize(const qor_rng_stream* stream);

/* ---- Abstract streams ------------------------------------------------------ */

/* Refill callbacks: write n fresh values into buf and return 0, or return
 * any other value, which the fill that needed them returns unchanged. */
typedef int32_t (*qor_rng_iabstract_callback)(qor_rng_stream* stream, int32_t n, uint32_t* buf);
typedef int32_t (*qor_rng_dabstract_callback)(qor_rng_stream* stream, int32_t n, double* buf);
typedef int32_t (*qor_rng_sabstract_callback)(qor_rng_stream* stream, int32_t n, float* buf);

/* A stream that hands out the caller's buffer of n values (n above 0), then
 * asks the callback to refill it.  The d and s forms hold uniforms on
 * [a, b) (a below b) and rescale them to the bounds of each fill. */
QOR_RNG_API int32_t __rixiNewAbstractStream(qor_rng_stream** stream, int32_t n, uint32_t* buf,
                                            qor_rng_iabstract_callback callback);
QOR_RNG_API int32_t __rixdNewAbstractStream(qor_rng_stream** stream, int32_t n, double* buf, double a, double b,
                                            qor_rng_dabstract_callback callback);
QOR_RNG_API int32_t __rixsNewAbstractStream(qor_rng_stream** stream, int32_t n, float* buf, float a, float b,
                                            qor_rng_sabstract_callback callback);

/* ---- Generators: one initialiser and three fills per row -------------------- */

#define QOR_RNG_BRNG_FUNCTIONS(Name)                                                                          \
    QOR_RNG_API int32_t __rixBRng##Name##InitStream(uint32_t method, qor_rng_stream* stream, int32_t n,       \
                                                    const uint32_t* params);                                  \
    QOR_RNG_API int32_t __rixsBRng##Name(qor_rng_stream* stream, int32_t n, float* r, float a, float b);      \
    QOR_RNG_API int32_t __rixdBRng##Name(qor_rng_stream* stream, int32_t n, double* r, double a, double b);   \
    QOR_RNG_API int32_t __rixiBRng##Name(qor_rng_stream* stream, int32_t n, void* r);

/* MCG31M1 writes uint32 words in [1, 2^31 - 2]; MCG59 uint64 words in
 * [1, 2^59 - 1]. */
QOR_RNG_BRNG_FUNCTIONS(MCG31M1)
QOR_RNG_BRNG_FUNCTIONS(R250)
QOR_RNG_BRNG_FUNCTIONS(MRG32K3A)
QOR_RNG_BRNG_FUNCTIONS(MCG59)
QOR_RNG_BRNG_FUNCTIONS(WH)
/* Sobol and Niederr: quasi-random points in base 2, Gray-code order, from
 * point 1 (point 0 is all zeros); one point is `dimension` consecutive
 * uint32 words, never 0, and the real fills give word * 2^-32 on [a, b).
 * Seeding words: dimension, kind, data.  No words: dimension 1.  Kind 0 (or
 * no second word): the built-in tables, Sobol with Joe and Kuo's direction
 * numbers (new-joe-kuo-6.21201) for dimensions 1 to 1112, Niederr with the
 * Bratley-Fox-Niederreiter matrices of the irreducible polynomials in order
 * of degree for dimensions 1 to 318.  Kind 1: per coordinate, Sobol the
 * words s, a, m_1 ... m_s (degree s of the primitive polynomial up to 32,
 * 0 for the van der Corput coordinate; a its interior coefficients,
 * x^(s-1)'s the most significant of s - 1 bits; odd m_k below 2^k), Niederr
 * one irreducible polynomial of degree 1 to 31 (bit k: x^k), no two equal.
 * Kind 2: per coordinate its 32 direction numbers, linearly independent.
 * Bad or missing words: QOR_RNG_STATUS_BAD_ARGUMENT.  Skip-ahead counts
 * words (exactly, the point computed directly; the period is 2^32 - 1
 * points); leapfrog needs nstreams equal to the dimension, and stream k then
 * gives one coordinate of each point (QOR_RNG_STATUS_NO_LEAPFROG otherwise).
 * A Niederr coordinate whose 32 digits vanish (a few points per coordinate
 * before 2^32) is written as 1. */
QOR_RNG_BRNG_FUNCTIONS(Sobol)
QOR_RNG_BRNG_FUNCTIONS(Niederr)
QOR_RNG_BRNG_FUNCTIONS(MT19937)
QOR_RNG_BRNG_FUNCTIONS(MT2203)
/* Each abstract row fills only its own kind; its other two fills are one
 * function that returns QOR_RNG_STATUS_ABSTRACT_KIND. */
QOR_RNG_BRNG_FUNCTIONS(iAbstract)
QOR_RNG_BRNG_FUNCTIONS(dAbstract)
QOR_RNG_BRNG_FUNCTIONS(sAbstract)
QOR_RNG_BRNG_FUNCTIONS(SFMT19937)
QOR_RNG_BRNG_FUNCTIONS(TRNG)
QOR_RNG_BRNG_FUNCTIONS(ARS5)
QOR_RNG_BRNG_FUNCTIONS(PHILOX4X32X10)

/* Modular powers by right-to-left binary exponentiation; exponent 0 gives
 * 1.  __rixiPowMod returns 0 for modulus 0. */
QOR_RNG_API uint32_t __rixiPowMod2P31M1(uint32_t base, uint64_t exponent);
QOR_RNG_API uint64_t __rixiPowMod2P59(uint64_t base, uint64_t exponent);
QOR_RNG_API uint32_t __rixiPowMod(uint32_t base, uint64_t exponent, uint32_t modulus);

/* MRG32k3a writes uint32 words in [0, 4294967086].  Its skip-ahead raises
 * 3x3 matrices (row-major, acting on a component's state oldest first) to
 * powers modulo a 32-bit modulus, writing the nine entries to result: by a
 * 64-bit exponent, by an exponent of `words` 64-bit words (least
 * significant first), and, for the generator's own two matrices and an
 * exponent below 2^192 (words beyond the third are not read), from
 * precomputed tables of powers. */
QOR_RNG_API void __rixiVect3PowMod(uint32_t* result, const uint32_t* matrix, uint64_t exponent, uint32_t modulus);
QOR_RNG_API void __rixiVect3PowArrayMod(uint32_t* result, const uint32_t* matrix, const uint64_t* exponent,
                                        int32_t words, uint32_t modulus);
QOR_RNG_API void __rixiVect3PowArrayMod_M1(uint32_t* result, const uint64_t* exponent, int32_t words);
QOR_RNG_API void __rixiVect3PowArrayMod_M2(uint32_t* result, const uint64_t* exponent, int32_t words);

/* ---- Polynomial skip-ahead of the F2-linear generators ----------------------
 * Polynomials over GF(2) are arrays of 64-bit words, the coefficient of x^k
 * in bit k % 64 of word k / 64.  A generator state is stepped, copied and
 * combined (dst ^= src, the sum of two states) by the generator's own
 * routines; the skip functions know nothing else about it. */
typedef void (*qor_rng_skip_step)(void* state);
typedef void (*qor_rng_skip_copy)(void* dst, const void* src);
typedef void (*qor_rng_skip_add)(void* dst, const void* src);

/* r = a mod p for a of degree a_degree and p of degree p_degree (its top
 * coefficient set, p_degree at least 1); r gets (p_degree + 63) / 64 words
 * and a is left unchanged.  Returns 0, QOR_RNG_STATUS_BAD_ARGUMENT for a
 * null pointer or a p_degree below 1, or QOR_RNG_STATUS_NO_MEMORY. */
QOR_RNG_API int32_t __rixPolyRem(uint64_t* r, const uint64_t* a, int32_t a_degree, const uint64_t* p,
                                 int32_t p_degree);
/* state = g(F) state for the step F, coefficient by coefficient (Horner's
 * rule); work is one state of state_bytes bytes.  Returns 0 or
 * QOR_RNG_STATUS_BAD_ARGUMENT. */
QOR_RNG_API int32_t __rix_SkipAheadHorner(void* state, void* work, int32_t state_bytes, const uint64_t* g,
                                          int32_t g_degree, qor_rng_skip_step step, qor_rng_skip_copy copy,
                                          qor_rng_skip_add add);
/* Advances state by the count of steps in count_words 64-bit words (least
 * significant first): forms x^count modulo the characteristic polynomial p
 * of the step (degree p_degree) and applies it to the state by Horner's rule
 * over windows of several coefficients, each window's combination of the
 * first few powers of F taken from a table built once.  Returns 0,
 * QOR_RNG_STATUS_BAD_ARGUMENT or QOR_RNG_STATUS_NO_MEMORY. */
QOR_RNG_API int32_t __rix_SkipAheadSWin(void* state, int32_t state_bytes, const uint64_t* count,
                                        int32_t count_words, const uint64_t* p, int32_t p_degree,
                                        qor_rng_skip_step step, qor_rng_skip_copy copy, qor_rng_skip_add add);

/* ---- Distributions ----------------------------------------------------------
 * One export per form of each distribution of the list,
 *   _rix<p>Rng<Name>(method, stream, n, r, params...),
 * writing n variates to r.  The exports take their arguments as given: the
 * core library checks them first.  A negative status of the generator
 * underneath is returned at once, with r partly written. */
#define QOR_RNG_DIST_KERNEL_DECL(p, T, Name, params, check, methods, accurate) \
    QOR_RNG_API int32_t _rix##p##Rng##Name(int32_t method, qor_rng_stream* stream, int32_t n, \
                                           T* r QOR_RNG_DIST_PARAMS_##params(T));
#define QOR_RNG_DIST_KERNEL_DECLS(Name, output, params, check, methods, accurate) \
    QOR_RNG_DIST_FORMS_##output(QOR_RNG_DIST_KERNEL_DECL, Name, params, check, methods, accurate)
QOR_RNG_DISTRIBUTIONS(QOR_RNG_DIST_KERNEL_DECLS)
#undef QOR_RNG_DIST_KERNEL_DECLS
#undef QOR_RNG_DIST_KERNEL_DECL

QOR_END_C

#endif
