/* Every meaning of each word with the literals of each meaning, through the
 * WordNet 3.0 C library (Debian's wordnet-dev) on its own files.
 *
 * usage: wordnet_lookup WORDS
 *
 * Each word is looked up as given in all four parts of speech with
 * findtheinfo_ds, without morphstr: the same exact lookups the other peers
 * make. The library keeps no cache, so both passes read the files (from the
 * system's page cache). Prints `name value` lines as the other peers do;
 * times are the process's CPU time, `wall_` lines the elapsed time. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <wn.h>

struct found {
  long meanings;
  long literals;
};

struct span {
  struct timespec cpu, wall;
};

static double seconds(struct timespec t) { return (double)t.tv_sec + (double)t.tv_nsec * 1e-9; }

static struct span now(void) {
  struct span s;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &s.cpu);
  clock_gettime(CLOCK_MONOTONIC, &s.wall);
  return s;
}

static void report(const char* name, struct span from, double scale) {
  struct span to = now();
  printf("%s %.2f\n", name, (seconds(to.cpu) - seconds(from.cpu)) * scale);
  printf("wall_%s %.2f\n", name, (seconds(to.wall) - seconds(from.wall)) * scale);
}

/* Senses hang off nextss; other spellings the library found for the word
 * (hyphens for underscores and the like) off nextform. */
static void look_up(char* word, struct found* found) {
  for (int pos = 1; pos <= NUMPARTS; ++pos) {
    SynsetPtr list = findtheinfo_ds(word, pos, SYNS, ALLSENSES);
    for (SynsetPtr form = list; form; form = form->nextform)
      for (SynsetPtr sense = form; sense; sense = sense->nextss) {
        found->meanings += 1;
        for (int w = 0; w < sense->wcount; ++w) found->literals += sense->words[w][0] != '\0';
      }
    if (list) free_syns(list);
  }
}

static void one_pass(char** words, size_t count, struct found* found) {
  for (size_t i = 0; i < count; ++i) look_up(words[i], found);
}

static char** read_words(const char* path, size_t* count) {
  FILE* in = fopen(path, "r");
  if (!in) return NULL;
  size_t size = 0, capacity = 1024;
  char** words = malloc(capacity * sizeof *words);
  char* line = NULL;
  size_t length = 0;
  while (words && getline(&line, &length, in) > 0) {
    line[strcspn(line, "\n")] = '\0';
    if (!line[0]) continue;
    if (size == capacity) {
      char** more = realloc(words, (capacity *= 2) * sizeof *words);
      if (!more) break;
      words = more;
    }
    words[size++] = strdup(line);
  }
  free(line);
  fclose(in);
  *count = size;
  return words;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: wordnet_lookup WORDS\n");
    return 2;
  }
  size_t count = 0;
  char** words = read_words(argv[1], &count);
  if (!words || count == 0) {
    fprintf(stderr, "wordnet_lookup: no words in %s\n", argv[1]);
    return 1;
  }

  struct found first = {0, 0}, second = {0, 0}, opening = {0, 0};
  struct span start = now();
  if (wninit() != 0) {
    fprintf(stderr, "wordnet_lookup: cannot open the WordNet files\n");
    return 1;
  }
  look_up(words[0], &opening);
  printf("words %zu\n", count);
  report("open_to_first_answer_ms", start, 1e3);

  start = now();
  one_pass(words, count, &first);
  report("first_pass_us", start, 1e6 / (double)count);
  start = now();
  one_pass(words, count, &second);
  report("second_pass_us", start, 1e6 / (double)count);
  if (second.meanings != first.meanings) {
    fprintf(stderr, "wordnet_lookup: the passes found %ld and %ld meanings\n", first.meanings,
            second.meanings);
    return 1;
  }
  printf("meanings %ld\nliterals %ld\n", first.meanings, first.literals);
  for (size_t i = 0; i < count; ++i) free(words[i]);
  free(words);
  return 0;
}
