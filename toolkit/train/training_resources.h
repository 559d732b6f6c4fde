// The resources of a model folder, made from what training was given: segmentation
// models, number rules, readings, entities, names that are none, and capitals.
// They come before the models, because the text steps that prepare training text
// run with them.
//
// Works on the model folder, the stages and the options of its maker, which outlive
// it. One thread calls; errors are std::runtime_error.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "toolkit/folder/model_folder.h"
#include "toolkit/io/progress.h"
#include "toolkit/train/preparation.h"
#include "toolkit/train/stages.h"
#include "toolkit/train/train_options.h"

namespace koralite::toolkit {

class TrainingResources {
 public:
  using Say = std::function<void(const std::string&)>;

  // Resources go into `model.path` and their names into `model.engine`; what only training needs
  // goes beside the stages' marks.
  TrainingResources(const train_options_t& options, const Stages& stages, model_folder_t& model,
                    const Progress& progress, Say say, Say warn)
      : options_(options),
        stages_(stages),
        model_(model),
        progress_(progress),
        say_(std::move(say)),
        warn_(std::move(warn)) {}

  // Removes what an earlier run left and makes what the options ask for.
  void make();
  // Names in the engine's configuration what is there by now, and writes the configurations that
  // the text steps of both sides run with.
  void enter();

  // Whether the text steps find names of persons.
  bool finds_names() const;
  // Writes those names in the training text that are none.
  void find_false_names();
  // Writes which words the target text spells with capitals.
  void learn_capitals();

  // Where text preparation finds all this.
  preparation_files_t files() const;

 private:
  void make_segmenter(std::string_view language, const std::string& text, const std::string& path);
  void make_entities();
  void write_configurations() const;

  const train_options_t& options_;
  const Stages& stages_;
  model_folder_t& model_;
  const Progress& progress_;
  Say say_;
  Say warn_;
};

}  // namespace koralite::toolkit
