#include "common/text_io.h"

#include <cstring>
#include <stdexcept>

namespace koralite::common {

char* kora_fgets(char* buffer, int size, std::FILE* stream) {
  if (!std::fgets(buffer, size, stream)) {
    return nullptr;
  }
  const std::size_t length = std::strlen(buffer);
  if (length > 0 && buffer[length - 1] == '\n') {
    buffer[length - 1] = '\0';
    return buffer;
  }
  if (length > 0 && std::feof(stream)) {
    return buffer;
  }
  throw std::runtime_error("input line length overflow in kora_fgets()");
}

int split_string(char* text, const char** fields, int max_fields, char separator) {
  if (max_fields <= 0) {
    return 0;
  }
  int count = 0;
  char* start = text;
  char* at = text;
  for (; *at != '\0'; ++at) {
    if (*at != separator) {
      continue;
    }
    *at = '\0';
    if (start != at) {
      fields[count++] = start;
      if (count == max_fields) {
        return count;
      }
    }
    start = at + 1;
  }
  if (start != at) {
    fields[count++] = start;
  }
  return count;
}

void split_string(char* text, std::vector<char*>& fields, char separator) {
  fields.clear();
  char* start = text;
  if (separator != '\0') {  // which ends every text, so the whole of it is one field
    while (char* at = std::strchr(start, separator)) {
      *at = '\0';
      if (at != start) {
        fields.push_back(start);
      }
      start = at + 1;
    }
  }
  if (*start != '\0') {
    fields.push_back(start);
  }
}

void split_string(char* text, std::vector<char*>& fields, const char* separator) {
  fields.clear();
  if (!separator || *separator == '\0') {
    return;
  }
  const std::size_t length = std::strlen(separator);
  char* start = text;
  while (char* at = std::strstr(start, separator)) {
    *at = '\0';
    if (at != start) {
      fields.push_back(start);
    }
    start = at + length;
  }
  if (*start != '\0') {
    fields.push_back(start);
  }
}

}  // namespace koralite::common
