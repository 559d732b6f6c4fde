/* translate_c FOLDER TEXT: writes the translation of TEXT, through the C face. */
#include <stdio.h>
#include <string.h>

#include "kora/kora_c.h"

int main(int argc, char** argv) {
  kora_c_translator* translator = NULL;
  char* message = NULL;
  char* output = NULL;
  size_t length = 0;
  int32_t result;
  if (argc != 3) return 2;
  result = kora_c_open(kora_c_find_direction("en-zh", 5), NULL, 0, argv[1], strlen(argv[1]),
                       KORA_C_CHECK_MANIFEST | KORA_C_RAW, &translator, &message);
  if (result != KORA_C_OK) {
    fprintf(stderr, "%s: %s\n", kora_c_error_name(result), message != NULL ? message : "");
    kora_c_free(message);
    return 1;
  }
  result = kora_c_translate(translator, argv[2], strlen(argv[2]), &output, &length);
  if (result == KORA_C_OK) {
    fwrite(output, 1, length, stdout);
  } else {
    fprintf(stderr, "%s: %s\n", kora_c_error_name(result), kora_c_message(translator));
  }
  kora_c_free(output);
  kora_c_close(translator);
  return result == KORA_C_OK ? 0 : 1;
}
