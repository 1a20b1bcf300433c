/* talvo_util.h - the utility library: strings, lists, octets, Base64, numbers, times, JSON,
 * streams, names, CRLs.
 *
 * Conventions that every function here shares:
 *
 * - Strings are talvo_ustring handles that hold UTF-8 with a length. Text arguments given as `const
 * char *` are UTF-8; where a length stands beside them they need no terminating NUL.
 * - Every handle argument may be NULL. A function that acts then answers 0, one that makes
 * something answers NULL, a count answers -1, a release function does nothing. Indexes count from
 * 0, lengths are in bytes.
 * - Results: 1 for success and 0 for failure, or a handle and NULL. Out-parameters are written on
 * success only, and last; a NULL out-parameter is a failure unless the comment says it is optional.
 * - Ownership: "new" results belong to the caller and are given back to the named release function;
 * "borrowed" results belong to the handle they came from and live until it changes or is released.
 * Arguments are never adopted, with the one exception of list items, which follow the list's copy
 * and release functions.
 * - Buffers (char * or uint8_t *) that are handed out come from talvo_malloc and are given back to
 * talvo_free.
 * - Threads: distinct handles may be used in distinct threads; one handle must not be changed by
 * two threads at once.
 * - An exhausted allocator is an ordinary failure: nothing leaks and nothing is half-done.
 */
#ifndef TALVO_UTIL_H
#define TALVO_UTIL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define TALVO_NOEXCEPT noexcept
extern "C" {
#else
#define TALVO_NOEXCEPT
#endif

#define TALVO_API __attribute__((visibility("default")))

typedef struct talvo_ustring talvo_ustring;
typedef struct talvo_arraylist talvo_arraylist;
typedef struct talvo_data_blob talvo_data_blob;
typedef struct talvo_biginteger talvo_biginteger;
typedef struct talvo_time talvo_time;
typedef struct talvo_lock talvo_lock;
typedef struct talvo_json talvo_json;
typedef struct talvo_stream talvo_stream;
typedef struct talvo_cert_dn talvo_cert_dn;
typedef struct talvo_cert_extension talvo_cert_extension;
typedef struct talvo_crl talvo_crl;

/* ---- memory ---- */

/* talvo_malloc returns `size` bytes aligned for any object, or NULL. `file` and `line` name the
 * place of the call and must outlive the block (a string literal). A size of 0 gives a block of its
 * own. */
TALVO_API void *talvo_malloc(size_t size, const char *file, int32_t line) TALVO_NOEXCEPT;
/* talvo_realloc returns the block with room for `size` bytes, moved where it has to be; what it
 * held stays as far as there is room. It is then a block of the place that `file` and `line`
 * name. NULL when there is no memory: the block is as it was. A NULL block is a new one. */
TALVO_API void *talvo_realloc(void *block, size_t size, const char *file,
                              int32_t line) TALVO_NOEXCEPT;
/* talvo_free gives a block of talvo_malloc back. NULL is ignored. */
TALVO_API void talvo_free(void *block) TALVO_NOEXCEPT;
/* talvo_memory_getliveblocks returns the number of blocks handed out and not yet given back. */
TALVO_API int64_t talvo_memory_getliveblocks(void) TALVO_NOEXCEPT;
/* talvo_memory_getlivebytes returns the sum of the sizes asked for by the live blocks. */
TALVO_API int64_t talvo_memory_getlivebytes(void) TALVO_NOEXCEPT;
/* talvo_memory_getrefusals returns how often talvo_malloc and talvo_realloc have answered NULL to
 * the calling thread since the thread began. Work that survives a missing block compares it before
 * and behind, to tell what was absent from what memory did not suffice for; other threads do not
 * disturb it. */
TALVO_API int64_t talvo_memory_getrefusals(void) TALVO_NOEXCEPT;
/* talvo_memory_setfailafter makes the allocation number `count` (from 0) from now on fail, once; a
 * negative count switches the fault off. For tests: only builds with TALVO_FAULT_HOOKS do it,
 * others ignore the call. */
TALVO_API void talvo_memory_setfailafter(int64_t count) TALVO_NOEXCEPT;
/* talvo_memory_hasfailed returns 1 when the fault set by the last talvo_memory_setfailafter has
 * struck, else 0. */
TALVO_API int32_t talvo_memory_hasfailed(void) TALVO_NOEXCEPT;

/* ---- strings ---- */

/* talvo_ustring_newutf8 returns a new string of `length` bytes of UTF-8, or NULL for invalid UTF-8
 * (overlong forms, surrogates, values above U+10FFFF). The text may hold NUL bytes. A NULL text is
 * a string only with length 0. */
TALVO_API talvo_ustring *talvo_ustring_newutf8(const char *text, size_t length) TALVO_NOEXCEPT;
/* talvo_ustring_dup returns a new string with the same text. */
TALVO_API talvo_ustring *talvo_ustring_dup(const talvo_ustring *string) TALVO_NOEXCEPT;
/* talvo_ustring_free releases a string. */
TALVO_API void talvo_ustring_free(talvo_ustring *string) TALVO_NOEXCEPT;
/* talvo_ustring_toutf8 hands out a new NUL-terminated copy and its length without the NUL (`length`
 * is optional). A string that holds a NUL byte cannot be expressed so: 0. */
TALVO_API int32_t talvo_ustring_toutf8(const talvo_ustring *string, char **text,
                                       size_t *length) TALVO_NOEXCEPT;
/* talvo_ustring_getutf8 returns the borrowed, NUL-terminated UTF-8 bytes, or NULL. */
TALVO_API const char *talvo_ustring_getutf8(const talvo_ustring *string) TALVO_NOEXCEPT;
/* talvo_ustring_getlength returns the length in bytes; 0 for NULL. */
TALVO_API size_t talvo_ustring_getlength(const talvo_ustring *string) TALVO_NOEXCEPT;
/* talvo_ustring_cat returns a new string that joins two. */
TALVO_API talvo_ustring *talvo_ustring_cat(const talvo_ustring *first,
                                           const talvo_ustring *second) TALVO_NOEXCEPT;
/* talvo_ustring_cmp compares by bytes: negative, 0 or positive. Two NULLs are equal; NULL comes
 * before any string, the empty one included. */
TALVO_API int32_t talvo_ustring_cmp(const talvo_ustring *first,
                                    const talvo_ustring *second) TALVO_NOEXCEPT;

/* ---- lists of pointers ---- */

typedef void *(*talvo_arraylist_dupfunction)(void *item);
typedef void (*talvo_arraylist_freefunction)(void *item);

/* talvo_arraylist_new returns a new empty list. With a copy function an item that is pushed is
 * first copied by it; with a release function the list's items are released with the list. Either
 * may be NULL. */
TALVO_API talvo_arraylist *talvo_arraylist_new(talvo_arraylist_dupfunction dup,
                                               talvo_arraylist_freefunction release) TALVO_NOEXCEPT;
/* talvo_arraylist_free releases the list, and its items through the release function. */
TALVO_API void talvo_arraylist_free(talvo_arraylist *list) TALVO_NOEXCEPT;
/* talvo_arraylist_pushback appends the item (or its copy). On failure the list is as before, and an
 * item that was not copied still belongs to the caller. A NULL item fails. */
TALVO_API int32_t talvo_arraylist_pushback(talvo_arraylist *list, void *item) TALVO_NOEXCEPT;
/* talvo_arraylist_getcount returns the number of items; -1 for NULL. */
TALVO_API int32_t talvo_arraylist_getcount(const talvo_arraylist *list) TALVO_NOEXCEPT;
/* talvo_arraylist_getitem returns the borrowed item at `index`, or NULL when the index is out of
 * range. */
TALVO_API void *talvo_arraylist_getitem(const talvo_arraylist *list, int32_t index) TALVO_NOEXCEPT;
/* talvo_arraylist_detachitems empties the list without releasing the items: they are the caller's
 * from now on. */
TALVO_API void talvo_arraylist_detachitems(talvo_arraylist *list) TALVO_NOEXCEPT;

/* ---- octets ---- */

/* talvo_data_blob_new returns a new blob holding a copy of `length` bytes. NULL bytes need length
 * 0. */
TALVO_API talvo_data_blob *talvo_data_blob_new(const void *bytes, size_t length) TALVO_NOEXCEPT;
/* talvo_data_blob_dup returns a new blob with the same bytes. */
TALVO_API talvo_data_blob *talvo_data_blob_dup(const talvo_data_blob *blob) TALVO_NOEXCEPT;
/* talvo_data_blob_free releases a blob. */
TALVO_API void talvo_data_blob_free(talvo_data_blob *blob) TALVO_NOEXCEPT;
/* talvo_data_blob_getdata returns the borrowed bytes (never NULL for a blob, also when it is
 * empty). */
TALVO_API const uint8_t *talvo_data_blob_getdata(const talvo_data_blob *blob) TALVO_NOEXCEPT;
/* talvo_data_blob_getlength returns the number of bytes; 0 for NULL. */
TALVO_API size_t talvo_data_blob_getlength(const talvo_data_blob *blob) TALVO_NOEXCEPT;

/* ---- Base64 (RFC 4648, standard alphabet) and hexadecimal ---- */

enum {
  TALVO_BASE64_DECODE = 2,  /* for decoding only */
  TALVO_BASE64_LINES = 3,   /* lines of 64 characters, a line feed between them, none at the end */
  TALVO_BASE64_ONE_LINE = 4 /* one padded line */
};

/* talvo_base64_encode hands out new NUL-terminated text; `mode` is TALVO_BASE64_LINES or
 * TALVO_BASE64_ONE_LINE. Other modes fail. `length` (without the NUL) is optional. */
TALVO_API int32_t talvo_base64_encode(const void *bytes, size_t length, int32_t mode, char **text,
                                      size_t *textLength) TALVO_NOEXCEPT;
/* talvo_base64_decode hands out new bytes. The three modes decode alike: space, tab, CR and LF
 * are skipped anywhere; anything else must be the alphabet with complete, correctly placed
 * padding. The bits that the last digit has beyond the last byte are not looked at. Text without
 * any digit decodes to no bytes: 0. */
TALVO_API int32_t talvo_base64_decode(const char *text, size_t length, int32_t mode,
                                      uint8_t **bytes, size_t *byteLength) TALVO_NOEXCEPT;
/* talvo_hex_encode hands out new NUL-terminated upper-case text. */
TALVO_API int32_t talvo_hex_encode(const void *bytes, size_t length, char **text) TALVO_NOEXCEPT;
/* talvo_hex_decode accepts digits of either case and an even number of them, at least two. */
TALVO_API int32_t talvo_hex_decode(const char *text, size_t length, uint8_t **bytes,
                                   size_t *byteLength) TALVO_NOEXCEPT;

/* ---- big integers ---- */

/* talvo_biginteger_newunsigneddata reads an unsigned big-endian magnitude; leading zero bytes do
 * not count. */
TALVO_API talvo_biginteger *talvo_biginteger_newunsigneddata(const void *bytes,
                                                             size_t length) TALVO_NOEXCEPT;
/* talvo_biginteger_newsigneddata reads a two's complement big-endian number of at least one byte.
 */
TALVO_API talvo_biginteger *talvo_biginteger_newsigneddata(const void *bytes,
                                                           size_t length) TALVO_NOEXCEPT;
/* talvo_biginteger_newdec reads NUL-terminated decimal text: an optional "-" and digits, nothing
 * else. */
TALVO_API talvo_biginteger *talvo_biginteger_newdec(const char *text) TALVO_NOEXCEPT;
/* talvo_biginteger_dup returns a new equal number. */
TALVO_API talvo_biginteger *talvo_biginteger_dup(const talvo_biginteger *number) TALVO_NOEXCEPT;
/* talvo_biginteger_free releases a number. */
TALVO_API void talvo_biginteger_free(talvo_biginteger *number) TALVO_NOEXCEPT;
/* talvo_biginteger_getsign returns -1, 0 or 1; 0 for NULL. */
TALVO_API int32_t talvo_biginteger_getsign(const talvo_biginteger *number) TALVO_NOEXCEPT;
/* talvo_biginteger_getbits returns the bits of the magnitude; 0 for zero; -1 for NULL. */
TALVO_API int32_t talvo_biginteger_getbits(const talvo_biginteger *number) TALVO_NOEXCEPT;
/* talvo_biginteger_cmp compares with sign: -1, 0 or 1. NULL comes before any number; two NULLs are
 * equal. */
TALVO_API int32_t talvo_biginteger_cmp(const talvo_biginteger *first,
                                       const talvo_biginteger *second) TALVO_NOEXCEPT;
/* talvo_biginteger_getunsigneddata writes the magnitude big-endian into `length` bytes, left-padded
 * with zeros; 0 when it does not fit. */
TALVO_API int32_t talvo_biginteger_getunsigneddata(const talvo_biginteger *number, uint8_t *bytes,
                                                   size_t length) TALVO_NOEXCEPT;
/* talvo_biginteger_todec hands out new NUL-terminated decimal text, with "-" for a negative number.
 */
TALVO_API int32_t talvo_biginteger_todec(const talvo_biginteger *number,
                                         char **text) TALVO_NOEXCEPT;

/* ---- times (UTC, proleptic Gregorian calendar, years 0 to 9999) ---- */

/* talvo_time_newutctime returns a new time, or NULL when a field is out of range (month 1-12, day
 * of that month, hour 0-23, minute and second 0-59, nanosecond 0-999,999,999). */
TALVO_API talvo_time *talvo_time_newutctime(int32_t year, int32_t month, int32_t day, int32_t hour,
                                            int32_t minute, int32_t second,
                                            int32_t nanosecond) TALVO_NOEXCEPT;
/* talvo_time_newnow returns the current time. */
TALVO_API talvo_time *talvo_time_newnow(void) TALVO_NOEXCEPT;
/* talvo_time_dup returns a new equal time. */
TALVO_API talvo_time *talvo_time_dup(const talvo_time *time) TALVO_NOEXCEPT;
/* talvo_time_free releases a time. */
TALVO_API void talvo_time_free(talvo_time *time) TALVO_NOEXCEPT;
/* talvo_time_addminute moves the time by `minutes` (may be negative); 0 and unchanged when it would
 * leave the years 0 to 9999. */
TALVO_API int32_t talvo_time_addminute(talvo_time *time, int32_t minutes) TALVO_NOEXCEPT;
/* The fields of a time; -1 for NULL. */
TALVO_API int32_t talvo_time_getyear(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_getmonth(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_getday(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_gethour(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_getminute(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_getsecond(const talvo_time *time) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_time_getnanosecond(const talvo_time *time) TALVO_NOEXCEPT;
/* talvo_time_cmp orders two times: negative, 0 or positive; NULL comes first. */
TALVO_API int32_t talvo_time_cmp(const talvo_time *first, const talvo_time *second) TALVO_NOEXCEPT;

/* ---- locks (re-entrant) ---- */

/* talvo_lock_new returns a new lock that nobody holds. */
TALVO_API talvo_lock *talvo_lock_new(void) TALVO_NOEXCEPT;
/* talvo_lock_lock waits until no other thread holds the lock, then holds it. A thread that holds
 * it already holds it once more, and has to unlock it as often. */
TALVO_API int32_t talvo_lock_lock(talvo_lock *lock) TALVO_NOEXCEPT;
/* talvo_lock_unlock returns 0 when the calling thread does not hold the lock. */
TALVO_API int32_t talvo_lock_unlock(talvo_lock *lock) TALVO_NOEXCEPT;
/* talvo_lock_free releases a lock that nobody holds. */
TALVO_API void talvo_lock_free(talvo_lock *lock) TALVO_NOEXCEPT;

/* ---- streams ---- */

/* talvo_stream_newmemory returns an empty growing memory stream: what is written is read back in
 * order. `capacity` is the room that it starts with. */
TALVO_API talvo_stream *talvo_stream_newmemory(size_t capacity) TALVO_NOEXCEPT;
/* talvo_stream_new_base64 returns a stream that decodes Base64 read from the stream it is pushed
 * onto. `direction` is TALVO_BASE64_DECODE, `lineLength` 64, `mode` TALVO_BASE64_LINES, `flags` 0;
 * anything else fails. */
TALVO_API talvo_stream *talvo_stream_new_base64(int32_t direction, int32_t lineLength, int32_t mode,
                                                int32_t flags) TALVO_NOEXCEPT;
/* talvo_stream_push puts `filter` on top of `source`; `filter` then borrows `source`. 0 when
 * `filter` has a source already, is none, or would read from itself. */
TALVO_API int32_t talvo_stream_push(talvo_stream *source, talvo_stream *filter) TALVO_NOEXCEPT;
/* talvo_stream_write appends to a memory stream: 1 or 0. */
TALVO_API int32_t talvo_stream_write(talvo_stream *stream, const void *bytes,
                                     size_t length) TALVO_NOEXCEPT;
/* talvo_stream_read reads up to `length` bytes and returns how many; 0 at the end; -1 on failure
 * (invalid Base64, for example). */
TALVO_API int64_t talvo_stream_read(talvo_stream *stream, void *bytes,
                                    size_t length) TALVO_NOEXCEPT;
/* talvo_stream_getavailable returns how many bytes a memory stream still holds; -1 for another
 * stream. */
TALVO_API int64_t talvo_stream_getavailable(const talvo_stream *stream) TALVO_NOEXCEPT;
/* talvo_stream_free releases a stream. Streams pushed onto it must not be read afterwards; a
 * filter does not release its source. */
TALVO_API void talvo_stream_free(talvo_stream *stream) TALVO_NOEXCEPT;

/* ---- JSON (RFC 8259) ---- */

enum {
  TALVO_JSON_NULL = 0,
  TALVO_JSON_BOOLEAN = 1,
  TALVO_JSON_NUMBER = 2,
  TALVO_JSON_STRING = 3,
  TALVO_JSON_ARRAY = 4,
  TALVO_JSON_OBJECT = 5
};

/* talvo_json_parse reads one JSON value: strict UTF-8, at most 128 levels of arrays and objects,
 * no duplicate keys, no NUL in a key, integers of 64 bits, nothing but white space around the
 * value. NULL otherwise. */
TALVO_API talvo_json *talvo_json_parse(const char *text, size_t length) TALVO_NOEXCEPT;
/* talvo_json_parse_ex is talvo_json_parse that also tells where a refused text went wrong: line
 * and column from 1, and a new message in English (NULL when memory is exhausted). All three are
 * optional, and written only when a text is refused. */
TALVO_API talvo_json *talvo_json_parse_ex(const char *text, size_t length, int32_t *line,
                                          int32_t *column, char **message) TALVO_NOEXCEPT;
/* The talvo_json_new functions return a new empty object or array, or a new value. A string has to
 * be UTF-8 and may hold NUL bytes; a boolean is true for anything but 0. */
TALVO_API talvo_json *talvo_json_newobject(void) TALVO_NOEXCEPT;
TALVO_API talvo_json *talvo_json_newarray(void) TALVO_NOEXCEPT;
TALVO_API talvo_json *talvo_json_newstring(const char *text, size_t length) TALVO_NOEXCEPT;
TALVO_API talvo_json *talvo_json_newboolean(int32_t value) TALVO_NOEXCEPT;
TALVO_API talvo_json *talvo_json_newinteger(int64_t value) TALVO_NOEXCEPT;
TALVO_API talvo_json *talvo_json_newnull(void) TALVO_NOEXCEPT;
/* talvo_json_dup returns a deep copy; NULL for a value of more than 128 levels. */
TALVO_API talvo_json *talvo_json_dup(const talvo_json *json) TALVO_NOEXCEPT;
/* talvo_json_free releases a value that the caller owns. Values got from an array or object are new
 * handles too and are released like any other; they keep their value alive. */
TALVO_API void talvo_json_free(talvo_json *json) TALVO_NOEXCEPT;
/* talvo_json_gettype returns one of the TALVO_JSON_ codes; -1 for NULL. */
TALVO_API int32_t talvo_json_gettype(const talvo_json *json) TALVO_NOEXCEPT;
/* talvo_json_getstring hands out the borrowed text of a string and its length; the text may hold
 * NUL bytes. */
TALVO_API int32_t talvo_json_getstring(const talvo_json *json, const char **text,
                                       size_t *length) TALVO_NOEXCEPT;
/* talvo_json_getboolean hands out 1 for true and 0 for false; it fails for any other value. */
TALVO_API int32_t talvo_json_getboolean(const talvo_json *json, int32_t *value) TALVO_NOEXCEPT;
/* talvo_json_getinteger hands out a number that is written without fraction and exponent; it fails
 * for any other value. */
TALVO_API int32_t talvo_json_getinteger(const talvo_json *json, int64_t *value) TALVO_NOEXCEPT;
/* talvo_json_getcount returns the number of items of an array or members of an object; -1
 * otherwise. */
TALVO_API int32_t talvo_json_getcount(const talvo_json *json) TALVO_NOEXCEPT;
/* talvo_json_getitem returns a new handle of the item at `index` of an array, or NULL. */
TALVO_API talvo_json *talvo_json_getitem(const talvo_json *json, int32_t index) TALVO_NOEXCEPT;
/* talvo_json_getmember returns a new handle of the member whose key is exactly the `length` bytes
 * of `key`, or NULL. */
TALVO_API talvo_json *talvo_json_getmember(const talvo_json *json, const char *key,
                                           size_t length) TALVO_NOEXCEPT;
/* talvo_json_hasmember returns 1 when an object has that key; so a NULL of talvo_json_getmember
 * tells exhausted memory from absence. */
TALVO_API int32_t talvo_json_hasmember(const talvo_json *json, const char *key,
                                       size_t length) TALVO_NOEXCEPT;
/* talvo_json_getkey returns a new string with the key of member number `index` of an object (in
 * text order), or NULL. */
TALVO_API talvo_ustring *talvo_json_getkey(const talvo_json *json, int32_t index) TALVO_NOEXCEPT;
/* talvo_json_setmember sets a member of an object, talvo_json_additem appends to an array; the
 * value is then shared with the handle `value`, which the caller still releases. A key is UTF-8
 * without NUL; a member set again keeps its place. Refused are a value that would contain itself
 * and one that would make more than 128 levels, counted from this container. */
TALVO_API int32_t talvo_json_setmember(talvo_json *json, const char *key, size_t length,
                                       talvo_json *value) TALVO_NOEXCEPT;
TALVO_API int32_t talvo_json_additem(talvo_json *json, talvo_json *value) TALVO_NOEXCEPT;
/* talvo_json_dump hands out new NUL-terminated UTF-8 text on one line without blanks, members in
 * the order in which they were set; `length` (without the NUL) is optional. Fails for a value of
 * more than 128 levels. */
TALVO_API int32_t talvo_json_dump(const talvo_json *json, char **text,
                                  size_t *length) TALVO_NOEXCEPT;

/* ---- distinguished names (RFC 5280, RFC 4514) ---- */

/* talvo_cert_dn_new reads the DER of a Name, which must take all of the bytes. */
TALVO_API talvo_cert_dn *talvo_cert_dn_new(const void *der, size_t length) TALVO_NOEXCEPT;
/* talvo_cert_dn_free releases a name. */
TALVO_API void talvo_cert_dn_free(talvo_cert_dn *dn) TALVO_NOEXCEPT;
enum {
  TALVO_DN_RFC4514 = 1 /* RFC 4514, most specific part first, UTF-8 unescaped */
};

/* talvo_cert_dn_getldapstring returns a new string; `form` is TALVO_DN_RFC4514. Other forms fail.
 */
TALVO_API talvo_ustring *talvo_cert_dn_getldapstring(const talvo_cert_dn *dn,
                                                     int32_t form) TALVO_NOEXCEPT;
/* talvo_cert_dn_matchldapstring returns 1 when the text names the same distinguished name, else 0.
 * The text is RFC 4514 read liberally: "," or ";" with blanks around, quoted values, "\" escapes,
 * "#" hexadecimal values, attribute types as OID or as a name of any case (E, EMAIL, S, ST, STREET,
 * T, G, GN, SN, SERIALNUMBER ...), either order of the parts. Values compare as RFC 5280 asks: the
 * case of ASCII letters and runs of blanks do not count. */
TALVO_API int32_t talvo_cert_dn_matchldapstring(const talvo_cert_dn *dn, const char *text,
                                                size_t length) TALVO_NOEXCEPT;

/* ---- certificate extensions and CRLs (RFC 5280) ---- */

/* talvo_crl_new reads a CRL as DER, as PEM (the first CRL in the text) or as the Base64 text of
 * the DER. `flags` is 0; anything else fails. The signature is not checked. */
TALVO_API talvo_crl *talvo_crl_new(const void *bytes, size_t length, int32_t flags) TALVO_NOEXCEPT;
/* talvo_crl_free releases a CRL. What was got from it lives on. */
TALVO_API void talvo_crl_free(talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_crl_encode returns a new blob with the DER, unchanged from what was read. */
TALVO_API talvo_data_blob *talvo_crl_encode(const talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_crl_getissuer returns a new name. */
TALVO_API talvo_cert_dn *talvo_crl_getissuer(const talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_crl_getthisupdate and talvo_crl_getnextupdate return a new time (NULL when absent). */
TALVO_API talvo_time *talvo_crl_getthisupdate(const talvo_crl *crl) TALVO_NOEXCEPT;
TALVO_API talvo_time *talvo_crl_getnextupdate(const talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_crl_getextensioncount returns the number of extensions of the list as a whole; -1 for
 * NULL. */
TALVO_API int32_t talvo_crl_getextensioncount(const talvo_crl *crl) TALVO_NOEXCEPT;
/* talvo_crl_getextension returns a new extension, in the order of the CRL, or NULL. */
TALVO_API talvo_cert_extension *talvo_crl_getextension(const talvo_crl *crl,
                                                       int32_t index) TALVO_NOEXCEPT;
/* talvo_cert_extension_free releases an extension. */
TALVO_API void talvo_cert_extension_free(talvo_cert_extension *extension) TALVO_NOEXCEPT;
/* talvo_cert_extension_getoid returns a new string in dotted form. */
TALVO_API talvo_ustring *talvo_cert_extension_getoid(const talvo_cert_extension *extension)
    TALVO_NOEXCEPT;
/* talvo_cert_extension_getinteger returns the value as a new big integer when it is a DER INTEGER,
 * else NULL. */
TALVO_API talvo_biginteger *talvo_cert_extension_getinteger(const talvo_cert_extension *extension)
    TALVO_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
