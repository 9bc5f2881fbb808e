/* Status codes of streams, generators and distributions. Zero is success, negative values are failures. For C and C++.
 */
#ifndef NVO_ARK_STATUS_H
#define NVO_ARK_STATUS_H

enum {
    OST_OK = 0,
    OST_ERR_METHOD = -2,            /* no such method code */
    OST_ERR_ARGUMENT = -3,          /* an argument is zero or null, bounds are not in order, or a degree is too high */
    OST_ERR_NO_MEMORY = -4,         /* an allocation failed */
    OST_ERR_NULL_POINTER = -5,      /* a needed pointer is null */
    OST_ERR_BAD_BRNG = -1000,       /* id or row not valid, or no row left for a registration */
    OST_ERR_NO_LEAPFROG = -1002,    /* the generator has no leapfrog */
    OST_ERR_NO_SKIP = -1003,        /* the generator has no skip-ahead */
    OST_ERR_NO_SKIP_EX = -1004,     /* the generator has no long skip-ahead */
    OST_ERR_REG_STATE_SIZE = -1008, /* registration: state_bytes is negative */
    OST_ERR_REG_WORD_SIZE = -1009,  /* registration: word_bytes is not 4, 8 or 16 */
    OST_ERR_REG_SEEDS = -1010,      /* registration: seed_words is below 1 */
    OST_ERR_REG_BITS = -1011,       /* registration: bits is below 1 */
    OST_ERR_QUASI_PERIOD = -1012,   /* a quasi-random sequence would pass its end */
    OST_ERR_LEAPFROG_COUNT = -1013, /* leapfrog with a negative number of streams */
    OST_ERR_NO_BITS = -1014,        /* the generator has no uniform bits of that width */
    OST_ERR_FILE_CLOSE = -1100,     /* closing the file failed */
    OST_ERR_FILE_OPEN = -1101,      /* opening the file failed */
    OST_ERR_FILE_WRITE = -1102,     /* a write came up short */
    OST_ERR_FILE_READ = -1103,      /* a read came up short, or the chunk records are of no known form */
    OST_ERR_FILE_FORMAT = -1110,    /* the file is no stream image */
    OST_ERR_FILE_VERSION = -1111,   /* the image has a later version */
    OST_ERR_ABSTRACT_COUNT = -1120, /* a refill callback gave an invalid count */
    OST_ERR_ABSTRACT_EMPTY = -1121, /* a refill callback gave no numbers */
    OST_ERR_ABSTRACT_TYPE = -1122,  /* a block entry of another type than the abstract stream's was called */
    OST_ERR_NO_RDRAND = -1130,      /* the processor lacks the hardware random instruction */
    OST_ERR_RDRAND_RETRIES = -1131, /* the hardware gave no number within the retries */
    OST_ERR_NO_AES = -1140,         /* the processor lacks the AES instructions */
    OST_ERR_MEMORY_FORMAT = -1200,  /* the memory block is no stream image */
    OST_ERR_TABLE_MISS = -3000,     /* no such entry in the shared data table */
    OST_ERR_TABLE_FULL = -3001      /* the shared data table is full */
};

#endif
