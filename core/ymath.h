/* Records of the core mathematics: a 2-D vector and a 2x2 matrix (row-major,
   no cached determinant). The library's vector and matrix convert to and from
   them by copying the fields. */
#ifndef TLKCORE_YMATH_H
#define TLKCORE_YMATH_H

typedef struct ymath_vect {
    double x;
    double y;
} ymath_vect;

typedef struct ymath_matrix {
    double a; /* row 0, column 0 */
    double b; /* row 0, column 1 */
    double c; /* row 1, column 0 */
    double d; /* row 1, column 1 */
} ymath_matrix;

#endif
