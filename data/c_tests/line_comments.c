/* Error:
 * Success:-ex linecomment
 * Comments that start with two slashes.
 * The option line above is written when this file compiles.
 */
// A comment that runs to the end of the line.
int lc_value;
