;;; The application layer's ductwork: the duct graph (which duct follows which, which ducts are
;;; looked through, the diffuser at a duct's end), the project's duct settings, the alignment
;;; points that turn a row's coordinates into the drawing's, and bringing a duct's row back in
;;; step with its entity. The module asks the graph through getNextDuctsTransparent, getPrevDuct
;;; and duct-getIxDiffL, the settings through duct-getSettings, and converts through
;;; convert_rp_dp and convert_ra_da.

;;; ---- the duct graph ----
;; Each duct's links live in symbols of their own ("ductgraph-next-12"), so that a question
;; about one duct costs the same in a system of ten ducts as in one of ten thousand.

(setq *ductgraph-known* nil)

(defun ductgraph-slot (kind ix)
  (read (strcat "ductgraph-" kind "-" (itoa (fix ix)))))

(defun ductgraph-get (kind ix)
  (vl-symbol-value (ductgraph-slot kind ix)))

(defun ductgraph-put (kind ix value)
  (if (not (ductgraph-get "known" ix))
    (progn
      (set (ductgraph-slot "known" ix) T)
      (setq *ductgraph-known* (cons ix *ductgraph-known*))))
  (set (ductgraph-slot kind ix) value))

;; Forgets every link, flag and diffuser.
(defun ductgraph-reset ()
  (foreach ix *ductgraph-known*
    (foreach kind '("known" "next" "prev" "transparent" "diffuser")
      (set (ductgraph-slot kind ix) nil)))
  (setq *ductgraph-known* nil)
  T)

;; Duct TO follows duct FROM. A duct has at most three outlets and one inlet: a fourth outlet,
;; a duct that would follow itself, or a link twice is refused with nil.
(defun ductgraph-connect (from to / nexts)
  (setq nexts (ductgraph-get "next" from))
  (cond
    ((or (= from to) (member to nexts) (>= (length nexts) 3)) nil)
    (T
     (ductgraph-put "next" from (append nexts (list to)))
     (ductgraph-put "prev" to from)
     T)))

;; Undoes a link; T when there was one.
(defun ductgraph-disconnect (from to / nexts)
  (setq nexts (ductgraph-get "next" from))
  (if (member to nexts)
    (progn
      (ductgraph-put "next" from (vl-remove to nexts))
      (if (equal (ductgraph-get "prev" to) from) (ductgraph-put "prev" to nil))
      T)))

;; A transparent duct (a damper, a short connector) carries no fitting of its own: questions
;; that look through it see the ducts that follow it.
(defun ductgraph-setTransparent (ix flag) (ductgraph-put "transparent" ix (if flag T)) T)

;; The diffuser IXDIFFL sits at the end of duct IX (nil takes it away).
(defun ductgraph-setDiffuser (ix ixDiffL) (ductgraph-put "diffuser" ix ixDiffL) T)

;; The ducts that follow IX, in the order they were connected; with TRANSPARENT, a transparent
;; duct is replaced by the ducts that follow it. A chain that comes back to a duct already seen
;; ends there. At most three.
(defun ductgraph-next (ix transparent / seen pending found n)
  (if (not transparent)
    (ductgraph-get "next" ix)
    (progn
      (setq seen (list ix) pending (ductgraph-get "next" ix))
      (while (and pending (< (length found) 3))
        (setq n (car pending) pending (cdr pending))
        (cond
          ((member n seen))
          ((ductgraph-get "transparent" n)
           (setq seen (cons n seen) pending (append (ductgraph-get "next" n) pending)))
          (T (setq seen (cons n seen) found (cons n found)))))
      (reverse found))))

;; Three indices, 0 for each that is missing.
(defun ductgraph-three (ducts)
  (list (if (car ducts) (car ducts) 0) (if (cadr ducts) (cadr ducts) 0) (if (caddr ducts) (caddr ducts) 0)))

;; Asked by the module: the three ducts that follow IXDUCT.
(defun getNextDuctsTransparent (ixDuct unused transparent)
  (ductgraph-three (ductgraph-next ixDuct transparent)))

;; Asked by the module: the duct that leads into IXDUCT, or nil.
(defun getPrevDuct (ixDuct unused)
  (ductgraph-get "prev" ixDuct))

;; Asked by the module: the diffuser at the end of IXDUCT, or nil. One set in the graph wins;
;; otherwise the project's placed diffusers are asked.
(defun duct-getIxDiffL (ixDuct / file found)
  (cond
    ((ductgraph-get "diffuser" ixDuct))
    ((and (setq file (projectdb-currentFile))
          (setq found (kvdb-query file (strcat "SELECT ixDiffL FROM tblDiffL WHERE ixDuct = "
                                               (itoa (fix ixDuct)) " AND bDeleted = 0"))))
     (car found))))

;;; ---- duct settings ----

;; The settings a project may give its new ducts, with the kind of each value.
(setq *duct-setting-kinds*
  '(("MATERIAL" . STR) ("SHAPE" . STR) ("OFFSET" . STR) ("VERTICALOFFSET" . STR)
    ("ixLayerSystem" . INT) ("AIRFLOW" . STR) ("DOUBLE_LINE" . STR) ("LINING" . REAL)
    ("dExteriorLining" . REAL) ("WIDTH" . REAL) ("DEPTH" . REAL) ("SIZEFOR" . STR)
    ("SIZESHAPE" . STR) ("SIZEVAL1" . REAL) ("SIZEVAL2" . REAL) ("SIZEMAX" . REAL) ("Z1" . REAL)
    ("Z2" . REAL) ("dHangerZ" . REAL) ("dHangerSize" . REAL) ("dHangerDepth" . REAL)
    ("dHangerStartOffset" . REAL) ("dHangerSpacing" . REAL) ("dHangerEndOffset" . REAL)
    ("dHangerLeftExtension" . REAL) ("dHangerRightExtension" . REAL) ("iHangerType" . INT)))

(setq *duct-settings* nil)

;; Whether VALUE is of the setting's KIND (any number for a real).
(defun duct-settingFits (kind value)
  (cond
    ((eq kind 'STR) (and (eq (type value) 'STR) (<= (strlen value) 19)))
    ((eq kind 'INT) (eq (type value) 'INT))
    (T (numberp value))))

;; Sets the project's duct settings from a list of (key value); a later key replaces an earlier
;; one. Unknown keys and values of the wrong kind are refused with a message and left out.
;; Answers the settings in force.
(defun duct-setSettings (pairs / kind)
  (foreach pair pairs
    (setq kind (cdr (assoc (car pair) *duct-setting-kinds*)))
    (if (and kind (duct-settingFits kind (cadr pair)))
      (setq *duct-settings*
        (append (vl-remove-if '(lambda (old) (= (car old) (car pair))) *duct-settings*)
                (list (list (car pair) (cadr pair)))))
      (princ (strcat "\nDuct setting refused: " (vl-princ-to-string pair)))))
  *duct-settings*)

(defun duct-clearSettings () (setq *duct-settings* nil))

;; Asked by the module when a duct is drawn with no template: the settings, or nil for none.
(defun duct-getSettings (unused) *duct-settings*)

;;; ---- alignment points ----
;; A row's coordinates are the design's; alignment point N places them in the drawing by a
;; rotation about the design's origin and a move to ORIGIN. Number 0 and numbers never set
;; leave coordinates as they are.

(setq *duct-alignments* nil)

(defun duct-setAlignment (n origin angle)
  (setq *duct-alignments*
    (cons (list n origin angle) (vl-remove-if '(lambda (a) (= (car a) n)) *duct-alignments*)))
  T)

(defun duct-clearAlignments () (setq *duct-alignments* nil))

;; Asked by the module: the row's point PT (x y z) in drawing coordinates.
(defun convert_rp_dp (pt align / a origin ang x y)
  (setq x (float (car pt)) y (float (cadr pt)))
  (if (setq a (assoc align *duct-alignments*))
    (progn
      (setq origin (cadr a) ang (caddr a))
      (list (+ (car origin) (- (* x (cos ang)) (* y (sin ang))))
            (+ (cadr origin) (* x (sin ang)) (* y (cos ang)))
            (+ (caddr origin) (float (caddr pt)))))
    (list x y (float (caddr pt)))))

;; Asked by the module: the row's angle ANG in drawing coordinates.
(defun convert_ra_da (ang align / a)
  (if (setq a (assoc align *duct-alignments*))
    (+ (float ang) (caddr a))
    (float ang)))

;;; ---- rows in step with entities ----

;; Writes what the duct entity ENAME holds of its row back to the row: both ends with their
;; elevations, the sizing letter and the drawing of the far end. The row's coordinates are
;; those of alignment 0. T when the project has the row.
(defun ducts-rowFromEntity (ename / data file ix p1 p2 linked)
  (setq data (entget ename)
        ix (cdr (assoc 90 data))
        p1 (cdr (assoc 10 data))
        p2 (cdr (assoc 11 data))
        linked (cdr (assoc 2 data)))
  (if (and ix (setq file (projectdb-currentFile))
           (kvdb-query file (strcat "SELECT ixDuct FROM tblDuct WHERE ixDuct = " (itoa ix))))
    (kvdb-execute file
      (strcat "UPDATE tblDuct SET X1 = " (rtos (car p1) 2 8) ", Y1 = " (rtos (cadr p1) 2 8)
              ", Z1 = " (rtos (caddr p1) 2 8) ", X2 = " (rtos (car p2) 2 8)
              ", Y2 = " (rtos (cadr p2) 2 8) ", Z2 = " (rtos (caddr p2) 2 8)
              ", SIZEFOR = " (ducts-sqlText (cdr (assoc 1 data)))
              ", DRAWING2 = " (ducts-sqlText (if linked linked ""))
              " WHERE ixDuct = " (itoa ix)))))

;; TEXT as an SQL literal.
(defun ducts-sqlText (text) (strcat "\"" (projectdb-doubled text "\"") "\""))
