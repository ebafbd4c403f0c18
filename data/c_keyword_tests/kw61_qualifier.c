/*
Success:
Position: XXX is a qualifier, storage class or memory space of a constant of type char and of type int.
*/
const XXX char kw_c = 1;
const XXX int kw_i = 2;
