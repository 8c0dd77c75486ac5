/* SPDX-License-Identifier: Apache-2.0 */
/* The baseline of load_time: a program that does nothing. */
int main(void) { return 0; }
