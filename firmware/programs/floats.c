// Single precision on the FPU and double precision by library calls: arithmetic, square root,
// comparison, conversion, printing. Prints the same on the host. Inputs are volatile, so that no
// compiler folds the results. Left out, since results differ here: infinities and NaNs in
// comparisons, and conversions to unsigned of 2^31 and more or of negative values.
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static uint32_t bits(float value) {
  uint32_t result;
  memcpy(&result, &value, sizeof result);
  return result;
}

static void print_double(const char* name, double value) {
  uint64_t raw;
  memcpy(&raw, &value, sizeof raw);
  printf("%-9s %08lx%08lx %.9f\n", name, (unsigned long)(raw >> 32),
         (unsigned long)(raw & 0xFFFFFFFFu), value);
}

static const volatile float kInputs[] = {0.1f,        1.0f,     -2.5f,    3.14159274f,     1.0e-20f,
                                         7.0e20f,     -0.3333f, 65537.0f, 1.17549435e-38f, 1.0e-40f,
                                         16777217.0f, -123.456f};
enum { kCount = sizeof kInputs / sizeof *kInputs };

static void arithmetic(void) {
  uint32_t sums = 0, differences = 0, products = 0, quotients = 0, roots = 0, chained = 0;
  int order = 0;
  for (int i = 0; i < kCount; ++i) {
    for (int j = 0; j < kCount; ++j) {
      const float a = kInputs[i], b = kInputs[j];
      sums = sums * 31 + bits(a + b);
      differences = differences * 31 + bits(a - b);
      products = products * 31 + bits(a * b);
      quotients = quotients * 31 + bits(a / b);
      order = order * 3 % 99991 + (a < b) + 2 * (a == b) + 4 * (a >= b) + 8 * (-a > b);
    }
    roots = roots * 31 + bits(sqrtf(fabsf(kInputs[i])));
    chained = chained * 31 + bits(-(kInputs[i] * kInputs[1]) - 0.5f * kInputs[2]);
  }
  printf("add %08lx sub %08lx mul %08lx div %08lx\n", (unsigned long)sums,
         (unsigned long)differences, (unsigned long)products, (unsigned long)quotients);
  printf("sqrt %08lx chain %08lx order %d\n", (unsigned long)roots, (unsigned long)chained, order);
}

static void conversions(void) {
  static const volatile float values[] = {0.0f,   0.99f,   -0.99f,  1.5f,           -1.5f,
                                          1.0e9f, -1.0e9f, 5.0e18f, -2147483648.0f, 3.0e38f};
  for (unsigned i = 0; i < sizeof values / sizeof *values; ++i) {
    const float value = values[i];
    if (value >= -2147483648.0f && value < 2147483648.0f) printf("%ld ", (long)(int32_t)value);
    if (value >= 0 && value < 2147483648.0f) printf("%lu ", (unsigned long)(uint32_t)value);
    print_double("double", (double)(float)(int16_t)i * (double)value / 3.0);
  }
  static const volatile uint32_t words[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 16777219};
  for (unsigned i = 0; i < sizeof words / sizeof *words; ++i) {
    printf("%08lx %08lx ", (unsigned long)bits((float)words[i]),
           (unsigned long)bits((float)(int32_t)words[i]));
    printf("%08lx\n", (unsigned long)bits((float)((uint64_t)words[i] << 20 | 12345)));
  }
}

static void series(void) {
  float sine = 0, term = kInputs[1];
  for (int i = 1; i < 12; i += 2) {
    sine += term;
    term *= -kInputs[1] * kInputs[1] / (float)((i + 1) * (i + 2));
  }
  float x = kInputs[11] * kInputs[11], root = x;
  for (int i = 0; i < 20; ++i) root = 0.5f * (root + x / root);
  float mandelbrot_row = 0;
  for (int column = 0; column < 20; ++column) {
    const float cr = -2.0f + 0.15f * (float)column, ci = 0.35f;
    float zr = 0, zi = 0;
    int steps = 0;
    while (steps < 50 && zr * zr + zi * zi < 4.0f) {
      const float next = zr * zr - zi * zi + cr;
      zi = 2.0f * zr * zi + ci;
      zr = next;
      ++steps;
    }
    mandelbrot_row += (float)steps / (float)(column + 1);
  }
  printf("sine %.6f root %.4f mandelbrot %.5f\n", (double)sine, (double)root,
         (double)mandelbrot_row);
}

static void matrix(void) {
  float a[8][8], b[8][8], c[8][8];
  for (int i = 0; i < 8; ++i) {
    for (int j = 0; j < 8; ++j) {
      a[i][j] = kInputs[(i + j) % 3] * (float)(i - j);
      b[i][j] = (float)(i * 8 + j) / 7.0f;
    }
  }
  float trace = 0;
  for (int i = 0; i < 8; ++i) {
    for (int j = 0; j < 8; ++j) {
      c[i][j] = 0;
      for (int k = 0; k < 8; ++k) c[i][j] += a[i][k] * b[k][j];
    }
    trace += c[i][i];
  }
  printf("matrix %g %g %g\n", (double)trace, (double)c[0][7], (double)c[7][0]);
}

static void doubles(void) {
  volatile double third = 1.0 / 3.0, large = 1.0e15 + 0.3, small = 2.2250738585072014e-308;
  print_double("add", third + large);
  print_double("sub", third - large / 3.0);
  print_double("mul", third * large);
  print_double("div", large / third);
  print_double("tiny", small / 4.0 * 1.0e300);
  print_double("float", (double)(float)third);
  print_double("int", (double)-(int32_t)(large / 1.0e6));
  print_double("uint", (double)(uint32_t)(large / 250000.0) * third);
  print_double("int64", (double)(int64_t)(large * 1000.0));
  uint64_t hash = 1;
  double x = third;
  for (int i = 0; i < 300; ++i) {
    x = i % 3 == 0 ? x * 1.7 - 0.3 : i % 3 == 1 ? x / 3.7 + third : (x + 5.25) * (1.0 - x);
    if (x > 100.0 || x < -100.0) x = 1.0 / x;
    uint64_t raw;
    memcpy(&raw, &x, sizeof raw);
    hash = hash * 31 + raw;
  }
  printf("chain %08lx%08lx\n", (unsigned long)(hash >> 32), (unsigned long)(hash & 0xFFFFFFFFu));
}

int main(void) {
  arithmetic();
  conversions();
  series();
  matrix();
  doubles();
  printf("%f %.3f %10.2f|%-10.1f|%e %.3e %g %g %g\n", 3.14159, 2.0 / 3, -1234.567, 0.05, 12345.678,
         -0.00012, 1e-5, 123456789.0, 0.5);
  return 0;
}
