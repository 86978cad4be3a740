#pragma once

namespace orvel::stick {

/// A line on the terminal that counts up; silent when standard error is no terminal.
class Progress {
 public:
  explicit Progress(int total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void step();

 private:
  const int total;
  const bool visible;
  int done = 0;
};

}  // namespace orvel::stick
