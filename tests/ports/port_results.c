/* port_results DIRECTION FOLDER < TEXT: everything that the engine says of each line, so that two
 * machines can be compared: the translation, its links, and the bits of the scores of the three
 * best. A line of text is at most 64 KiB. */
#include <stdio.h>
#include <string.h>

#include "kora/kora_c.h"
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

static int fail(const char* what, int32_t code, const char* message) {
  fprintf(stderr, "%s: %s: %s\n", what, kora_c_error_name(code), message != NULL ? message : "");
  return 1;
}

static int write_results(kora_c_translator* translator, const char* line, size_t length) {
  char* output = NULL;
  int32_t* links = NULL;
  size_t* ends = NULL;
  float* scores = NULL;
  size_t size = 0, count = 0, i;
  int32_t code = kora_c_translate_aligned(translator, line, length, &output, &size, &links, &count);
  if (code != KORA_C_OK) return fail("translate", code, kora_c_message(translator));
  fwrite(output, 1, size, stdout);
  for (i = 0; i < 4 * count; ++i) {
    printf("%c%ld", i % 4 == 0 ? '\t' : ' ', (long)links[i]);
  }
  printf("\n");
  kora_c_free(output);
  kora_c_free(links);

  code = kora_c_translate_nbest(translator, line, length, 3, &output, &ends, &scores, &count);
  if (code != KORA_C_OK) return fail("n-best", code, kora_c_message(translator));
  for (i = 0; i < count; ++i) {
    uint32_t bits;
    memcpy(&bits, &scores[i], sizeof bits);
    printf("  %08lx %s\n", (unsigned long)bits, output + (i == 0 ? 0 : ends[i - 1] + 1));
  }
  kora_c_free(output);
  kora_c_free(ends);
  kora_c_free(scores);
  return 0;
}

int main(int argc, char** argv) {
  static char line[1 << 16];
  kora_c_translator* translator = NULL;
  char* message = NULL;
  int32_t code;
  int status = 0;
  if (argc != 3) return 2;
#ifdef _WIN32
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  code = kora_c_open(kora_c_find_direction(argv[1], strlen(argv[1])), NULL, 0, argv[2],
                     strlen(argv[2]), KORA_C_CHECK_MANIFEST, &translator, &message);
  if (code != KORA_C_OK) {
    status = fail(argv[2], code, message);
    kora_c_free(message);
    return status;
  }
  while (status == 0 && fgets(line, (int)sizeof line, stdin) != NULL) {
    status = write_results(translator, line, strcspn(line, "\n"));
  }
  kora_c_close(translator);
  return status;
}
